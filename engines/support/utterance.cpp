#include "support/utterance.hpp"

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
  {
    const std::lock_guard<std::mutex> lock(mutex);
    ++stops;
  }
  changed.notify_all();
}

void UtteranceControl::pause() {
  const std::lock_guard<std::mutex> lock(mutex);
  paused = true;
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

void Utterance::run(const std::function<void()>& speak) {
  try {
    host.onStart();
    if (!isOver()) {
      speak();
    }
  } catch (...) {
    keepFirstFailure();
  }
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
  if (count == 0) {
    return mayGoOn();
  }
  return guarded([&] {
    samples += count;
    return host.onAudio(audio, count, samplingRate);
  });
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
  return guarded([&] {
    host.onMark(number, samplePosition);
    return true;
  });
}

bool Utterance::tellWord(const SpeechWord& word) noexcept {
  return guarded([&] {
    host.onWord(word);
    return true;
  });
}

SpeechEnd Utterance::outcome() const noexcept {
  if (failure) {
    return SpeechEnd::failed;
  }
  return isOver() ? SpeechEnd::stopped : SpeechEnd::finished;
}

}  // namespace KQ::engines
