#include "isolation/fault/faulty_callback.hpp"

#include <limits>

namespace KQ::isolation {

namespace {

thread_local std::string_view spokenText;

/// For hosts that want to know the sounds.
class FaultyPhonemeCallback : public FaultyCallback, public PhonemeCallback {
 public:
  FaultyPhonemeCallback(TextToSpeechEngineCallbackInterface* host, PhonemeCallback& phonemes,
                        const FaultTrigger& trigger)
      : FaultyCallback(host, trigger), phonemes(phonemes) {}

  void onPhoneme(const SpeechPhoneme& phoneme) override {
    reach("phoneme");
    phonemes.onPhoneme(phoneme);
  }

 private:
  PhonemeCallback& phonemes;
};

}  // namespace

std::unique_ptr<FaultyCallback> FaultyCallback::create(TextToSpeechEngineCallbackInterface* host,
                                                       const FaultTrigger& trigger) {
  if (auto* const phonemes = dynamic_cast<PhonemeCallback*>(host)) {
    return std::make_unique<FaultyPhonemeCallback>(host, *phonemes, trigger);
  }
  return std::make_unique<FaultyCallback>(host, trigger);
}

void FaultyCallback::speaks(std::string_view text) {
  spokenText = text;
}

void FaultyCallback::reach(std::string_view place, std::string_view word) {
  if (!trigger.reach(place, word)) {
    return;
  }
  if (trigger.kind() == FaultKind::audio && host != nullptr) {
    host->onAudio(nullptr, std::numeric_limits<std::size_t>::max() / 4, -1);
  }
  commit(trigger.kind());
}

void FaultyCallback::onStart() {
  reach("begin");
  if (host != nullptr) {
    host->onStart();
  }
}

bool FaultyCallback::onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
  reach("audio");
  return host == nullptr || host->onAudio(samples, count, samplingRate);
}

void FaultyCallback::onMark(int number, std::uint64_t samplePosition) {
  reach("mark");
  if (host != nullptr) {
    host->onMark(number, samplePosition);
  }
}

void FaultyCallback::onWord(const SpeechWord& word) {
  const bool isInText = word.textOffset <= spokenText.size();
  reach("word", isInText ? spokenText.substr(word.textOffset, word.textLength) : "");
  if (host != nullptr) {
    host->onWord(word);
  }
}

void FaultyCallback::onEnd(SpeechEnd end) {
  const bool isLate = trigger.kind() == FaultKind::late && trigger.reach("end");
  if (trigger.kind() != FaultKind::late) {
    reach("end");
  }
  if (host == nullptr) {
    return;
  }
  host->onEnd(end);
  if (isLate) {
    constexpr std::int16_t samples[] = {1, 2, 3};
    host->onWord({0, 1, 0});
    host->onAudio(samples, std::size(samples), 16000);
    host->onEnd(end);
  }
}

}  // namespace KQ::isolation
