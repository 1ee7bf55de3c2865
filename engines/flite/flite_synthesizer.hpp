#pragma once

#include <algorithm>

#include "engine/synthesizer.hpp"
#include "flite/flite_library.hpp"

namespace KQ::engines {

/// Flite as the engines' common code drives it. Utterances of all engines of the process are spoken
/// one after another, in the order in which they were started.
class FliteSynthesizer : public Synthesizer {
 public:
  int samplingRate(const std::string& sourceVoice) const override {
    return library.samplingRate(sourceVoice);
  }
  bool hasVoice(const std::string& sourceVoice) const override {
    return library.hasVoice(sourceVoice);
  }
  std::string language(const std::string& /*sourceVoice*/) const override { return "en"; }
  /// What it reaches with all voices.
  float ownPitchShift(float factor) const override { return std::clamp(factor, 0.6F, 2.F); }
  TurnQueue& turns() override { return FliteLibrary::turns(); }
  void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) override;

 private:
  FliteLibrary library;
};

}  // namespace KQ::engines
