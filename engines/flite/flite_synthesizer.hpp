#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "engine/parameter_table.hpp"
#include "engine/synthesizer.hpp"
#include "flite/flite_library.hpp"
#include "text/language_rewriter.hpp"

namespace KQ::engines {

/// Flite as a Synthesizer. All engines of the process share it: their utterances are spoken one
/// after another, in the order in which they were started.
class FliteSynthesizer : public Synthesizer {
 public:
  /// The engine's own parameters, besides those of all engines. SpeechSettings::more has their
  /// values.
  static std::vector<ParameterRow> ownParameters() { return {}; }

  int samplingRate(const std::string& sourceVoice) const override {
    return library.samplingRate(sourceVoice);
  }
  bool hasVoice(const std::string& sourceVoice) const override {
    return library.hasVoice(sourceVoice);
  }
  std::unique_ptr<TextRewriter> rewriter(const std::string& /*sourceVoice*/) const override {
    return std::make_unique<LanguageRewriter>("en");
  }
  /// The range that all voices reach.
  float ownPitchShift(float factor) const override { return std::clamp(factor, 0.6F, 2.F); }
  TurnQueue& turns() override { return FliteLibrary::turns(); }
  void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) override;

 private:
  FliteLibrary library;
};

}  // namespace KQ::engines
