#pragma once

#include <algorithm>

#include "engine/synthesizer.hpp"
#include "espeak_ng/espeak_library.hpp"
#include "espeak_ng/espeak_text.hpp"
#include "text/text_chunks.hpp"

namespace KQ::engines {

/// eSpeak NG as the engines' common code drives it. Utterances of all engines of the process are
/// spoken one after another, in the order in which they were started.
class EspeakSynthesizer : public Synthesizer {
 public:
  int samplingRate(const std::string& /*sourceVoice*/) const override {
    return library.samplingRate();
  }
  bool hasVoice(const std::string& sourceVoice) const override {
    return !library.voiceFile(sourceVoice).empty();
  }
  std::string language(const std::string& sourceVoice) const override {
    return languageOfVoice(library.voiceFile(sourceVoice));
  }
  /// What it reaches with all voices.
  float ownPitchShift(float factor) const override { return std::clamp(factor, 0.75F, 1.6F); }
  TurnQueue& turns() override { return EspeakLibrary::turns(); }
  void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) override;

 private:
  EspeakLibrary library;

  // Used by the holder of the turn. Kept from one utterance to the next: giving their memory back
  // would delay the return of a start that is stopped.
  TextChunks chunks;
  EspeakText written;
};

}  // namespace KQ::engines
