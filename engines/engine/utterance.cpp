#include "engine/utterance.hpp"

#include <algorithm>
#include <array>
#include <kqtts/phoneme_callback.hpp>

namespace KQ::engines {

namespace {

TextToSpeechEngineCallbackInterface& orNobody(TextToSpeechEngineCallbackInterface* callback) {
  static TextToSpeechEngineCallbackInterface nobody;
  return callback == nullptr ? nobody : *callback;
}

}  // namespace

void UtteranceControl::stop() {
  ++stops;  // a speaking thread sees this from here on
  {
    // A thread that was about to wait has seen it by now, or is waiting.
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
    : control(engineControl),
      host(orNobody(callback)),
      phonemes(dynamic_cast<PhonemeCallback*>(callback)),
      stopsBefore(engineControl.stops) {}

void Utterance::begin() noexcept {
  try {
    host.onStart();
  } catch (...) {
    keepFirstFailure();
  }
}

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

/// Calls the host. Everything passes here, so only here the utterance waits while it is paused.
template <typename Call>
bool Utterance::callHost(Call call) noexcept {
  if (!mayGoOn()) {
    return false;
  }
  try {
    refused = !call();
  } catch (...) {
    keepFirstFailure();
  }
  return !isOver();
}

bool Utterance::give(const std::int16_t* audio, std::size_t count) noexcept {
  return callHost([&] { return host.onAudio(audio, count, rate); });
}

bool Utterance::give(const Event& event) noexcept {
  return callHost([&] {
    if (event.phoneme) {
      phonemes->onPhoneme({*event.phoneme, event.word.samplePosition, 0});
    } else if (event.mark) {
      host.onMark(*event.mark, event.word.samplePosition);
    } else {
      host.onWord(event.word);
    }
    return true;
  });
}

bool Utterance::emitAudio(const std::int16_t* audio, std::size_t count, int samplingRate) noexcept {
  if (count == 0) {
    return mayGoOn();
  }
  if (isOver()) {
    return false;
  }
  samples += count;
  rate = samplingRate;
  if (!wantedEffects.isAny()) {
    return give(audio, count);
  }
  try {
    change(audio, count);
  } catch (...) {
    keepFirstFailure();
  }
  return mayGoOn();
}

bool Utterance::emitSilence(std::uint64_t count, int samplingRate) noexcept {
  static constexpr std::array<std::int16_t, 512> silence{};
  bool goesOn = false;
  do {
    const std::size_t some = std::min<std::uint64_t>(count, silence.size());
    goesOn = emitAudio(silence.data(), some, samplingRate);
    count -= some;
  } while (goesOn && count > 0);
  return goesOn;
}

bool Utterance::emitInsertion(const MarkupItem& tag, int samplingRate) noexcept {
  if (tag.kind == MarkupItem::Kind::mark) {
    return emitMark(tag.value, samples);
  }
  const auto milliseconds = static_cast<std::uint64_t>(tag.value);
  return emitSilence(milliseconds * static_cast<unsigned>(samplingRate) / 1000, samplingRate);
}

bool Utterance::emitMark(int number, std::uint64_t samplePosition) noexcept {
  return emit({number, {0, 0, samplePosition}});
}

bool Utterance::emitWord(const SpeechWord& word) noexcept {
  if (text == nullptr) {
    return emit({std::nullopt, word});
  }
  const SpeechWord original = text->inOriginal(word);
  // If one word was replaced by several, only the first is reported.
  if (original.textOffset < originalEmitted) {
    return mayGoOn();
  }
  originalEmitted = original.textOffset + original.textLength;
  return emit({std::nullopt, original});
}

bool Utterance::emitPhoneme(std::string_view ipa, std::uint64_t samplePosition) noexcept {
  if (!wantsPhonemes()) {
    return mayGoOn();
  }
  try {
    return emit({std::nullopt, {0, 0, samplePosition}, std::string(ipa)});
  } catch (...) {
    keepFirstFailure();
    return false;
  }
}

bool Utterance::emit(const Event& event) noexcept {
  // Nothing is delayed before the first audio; an engine without sound has none.
  if (!effects) {
    return give(event);
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
  giveWaitingEvents();
  return mayGoOn();
}

// Effects -------------------------------------------------------------------------------------

void Utterance::change(const std::int16_t* audio, std::size_t count) {
  if (!effects) {
    effects = std::make_unique<Effects>(wantedEffects, rate);
  }
  giveChanged(effects->chain.process(audio, count));
}

void Utterance::giveChanged(const std::vector<std::int16_t>& audio) {
  const std::int16_t* next = audio.data();
  for (std::uint64_t left = audio.size(); left > 0 && !isOver();) {
    giveWaitingEvents();
    const std::deque<Event>& waiting = effects->waiting;
    const std::uint64_t some =
        waiting.empty() ? left
                        : std::min(left, waiting.front().word.samplePosition - effects->given);
    give(next, some);
    next += some;
    effects->given += some;
    left -= some;
  }
  giveWaitingEvents();
}

void Utterance::giveWaitingEvents() noexcept {
  std::deque<Event>& waiting = effects->waiting;
  while (!isOver() && !waiting.empty() && waiting.front().word.samplePosition <= effects->given) {
    give(waiting.front());
    waiting.pop_front();
  }
}

void Utterance::finishEffects() {
  if (!effects || isOver()) {
    return;
  }
  giveChanged(effects->chain.finish());
  std::deque<Event>& waiting = effects->waiting;
  for (; !isOver() && !waiting.empty(); waiting.pop_front()) {
    give(waiting.front());
  }
}

SpeechEnd Utterance::outcome() const noexcept {
  if (failure) {
    return SpeechEnd::failed;
  }
  return isOver() ? SpeechEnd::stopped : SpeechEnd::finished;
}

}  // namespace KQ::engines
