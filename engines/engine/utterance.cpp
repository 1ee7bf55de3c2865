#include "engine/utterance.hpp"

#include <algorithm>
#include <array>

namespace KQ::engines {

namespace {

TextToSpeechEngineCallbackInterface& orNobody(TextToSpeechEngineCallbackInterface* callback) {
  static TextToSpeechEngineCallbackInterface nobody;
  return callback == nullptr ? nobody : *callback;
}

}  // namespace

void UtteranceControl::stop() {
  ++stops;  // from here on whoever speaks sees it
  {
    // Whoever is about to wait has seen it, too, or waits by now.
    const std::lock_guard<std::mutex> lock(mutex);
  }
  changed.notify_all();
}

void UtteranceControl::pause() {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    paused = true;
  }
  changed.notify_all();
}

void UtteranceControl::resume() {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    paused = false;
  }
  changed.notify_all();
}

Utterance::Utterance(UtteranceControl& engineControl, TextToSpeechEngineCallbackInterface* callback)
    : control(engineControl), host(orNobody(callback)), stopsBefore(engineControl.stops) {}

void Utterance::end() {
  try {
    host.onEnd(outcome());
  } catch (...) {
    if (!failure) {
      throw;
    }
  }
  if (failure) {
    std::rethrow_exception(failure);
  }
}

void Utterance::keepFirstFailure() noexcept {
  if (!failure) {
    failure = std::current_exception();
  }
}

bool Utterance::isStopped() const noexcept {
  return control.stops != stopsBefore;
}

bool Utterance::isOver() const noexcept {
  return failure || refused || isStopped();
}

bool Utterance::mayGoOn() noexcept {
  if (control.paused && !isOver()) {
    std::unique_lock<std::mutex> lock(control.mutex);
    control.changed.wait(lock, [this] { return !control.paused || isOver(); });
  }
  return !isOver();
}

bool Utterance::wait(std::chrono::microseconds duration) noexcept {
  using Clock = std::chrono::steady_clock;
  Clock::duration rest = duration;
  while (mayGoOn() && rest > Clock::duration::zero()) {
    const Clock::time_point begin = Clock::now();
    {
      std::unique_lock<std::mutex> lock(control.mutex);
      control.changed.wait_for(lock, rest, [this] { return control.paused || isOver(); });
    }
    rest -= Clock::now() - begin;
  }
  return !isOver();
}

template <typename Tell>
bool Utterance::guarded(Tell tell) noexcept {
  if (!mayGoOn()) {
    return false;
  }
  try {
    refused = !tell();
  } catch (...) {
    keepFirstFailure();
  }
  return !isOver();
}

bool Utterance::tellAudio(const std::int16_t* audio, std::size_t count, int samplingRate) noexcept {
  if (count == 0 || !mayGoOn()) {
    return mayGoOn();
  }
  samples += count;
  rate = samplingRate;
  if (!wantedEffects.isAny()) {
    return tellHost(audio, count);
  }
  try {
    change(audio, count);
  } catch (...) {
    keepFirstFailure();
  }
  return !isOver();
}

bool Utterance::tellHost(const std::int16_t* audio, std::size_t count) noexcept {
  return guarded([&] { return host.onAudio(audio, count, rate); });
}

bool Utterance::tellSilence(std::uint64_t count, int samplingRate) noexcept {
  static constexpr std::array<std::int16_t, 512> silence{};
  while (count > 0 && !isOver()) {
    const std::size_t some = std::min<std::uint64_t>(count, silence.size());
    tellAudio(silence.data(), some, samplingRate);
    count -= some;
  }
  return mayGoOn();
}

bool Utterance::tellMark(int number, std::uint64_t samplePosition) noexcept {
  return tellEvent({number, {0, 0, samplePosition}});
}

bool Utterance::tellWord(const SpeechWord& word) noexcept {
  if (text == nullptr) {
    return tellEvent({std::nullopt, word});
  }
  const SpeechWord original = text->inOriginal(word);
  // Of the words that stand for one of the original, the first tells it.
  if (original.textOffset < originalTold) {
    return mayGoOn();
  }
  originalTold = original.textOffset + original.textLength;
  return tellEvent({std::nullopt, original});
}

bool Utterance::tellEvent(const Event& event) noexcept {
  // Before the first audio nothing is held back, and an engine without sound has none.
  if (!effects) {
    return tellHost(event);
  }
  try {
    std::deque<Event>& waiting = effects->waiting;
    const auto place = std::upper_bound(
        waiting.begin(), waiting.end(), event, [](const Event& added, const Event& other) {
          return added.word.samplePosition < other.word.samplePosition;
        });
    waiting.insert(place, event);
  } catch (...) {
    keepFirstFailure();
  }
  tellWaitingEvents();
  return mayGoOn();
}

bool Utterance::tellHost(const Event& event) noexcept {
  return guarded([&] {
    if (event.mark) {
      host.onMark(*event.mark, event.word.samplePosition);
    } else {
      host.onWord(event.word);
    }
    return true;
  });
}

// Effects -------------------------------------------------------------------------------------

void Utterance::change(const std::int16_t* audio, std::size_t count) {
  if (!effects) {
    effects = std::make_unique<Effects>(wantedEffects, rate);
  }
  tellChanged(effects->chain.process(audio, count));
}

void Utterance::tellChanged(const std::vector<std::int16_t>& audio) {
  const std::int16_t* next = audio.data();
  for (std::uint64_t left = audio.size(); left > 0 && !isOver();) {
    tellWaitingEvents();
    const std::deque<Event>& waiting = effects->waiting;
    const std::uint64_t some =
        waiting.empty() ? left
                        : std::min(left, waiting.front().word.samplePosition - effects->given);
    tellHost(next, some);
    next += some;
    effects->given += some;
    left -= some;
  }
  tellWaitingEvents();
}

void Utterance::tellWaitingEvents() noexcept {
  std::deque<Event>& waiting = effects->waiting;
  while (!isOver() && !waiting.empty() && waiting.front().word.samplePosition <= effects->given) {
    tellHost(waiting.front());
    waiting.pop_front();
  }
}

void Utterance::finishEffects() {
  if (!effects || isOver()) {
    return;
  }
  tellChanged(effects->chain.finish());
  std::deque<Event>& waiting = effects->waiting;
  for (; !isOver() && !waiting.empty(); waiting.pop_front()) {
    tellHost(waiting.front());
  }
}

SpeechEnd Utterance::outcome() const noexcept {
  if (failure) {
    return SpeechEnd::failed;
  }
  return isOver() ? SpeechEnd::stopped : SpeechEnd::finished;
}

}  // namespace KQ::engines
