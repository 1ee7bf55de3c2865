#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "engine/parameter_table.hpp"
#include "engine/synthesizer.hpp"
#include "espeak_ng/espeak_library.hpp"
#include "espeak_ng/espeak_text.hpp"
#include "text/text_chunks.hpp"

namespace KQ::engines {

namespace parameters {
/// Whether words in a script that the voice does not read are read by another language's voice: 1
/// or 0.
constexpr ParameterRow otherScripts{"otherScripts", 1, 0, 1, false};
}  // namespace parameters

/// eSpeak NG as a Synthesizer. All engines of the process share it: their utterances are spoken one
/// after another, in the order in which they were started.
class EspeakSynthesizer : public Synthesizer {
 public:
  /// The engine's own parameters, besides those of all engines. SpeechSettings::more has their
  /// values.
  static std::vector<ParameterRow> ownParameters() { return {parameters::otherScripts}; }

  int samplingRate(const std::string& /*sourceVoice*/) const override {
    return library.samplingRate();
  }
  bool hasVoice(const std::string& sourceVoice) const override {
    return !library.voiceFile(sourceVoice).empty();
  }
  std::unique_ptr<TextRewriter> rewriter(const std::string& sourceVoice) const override;
  /// The range that all voices reach.
  float ownPitchShift(float factor) const override { return std::clamp(factor, 0.75F, 1.6F); }
  TurnQueue& turns() override { return EspeakLibrary::turns(); }
  void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) override;

 private:
  EspeakLibrary library;

  // Used by the holder of the turn. They keep their memory from one utterance to the next: freeing
  // it would delay the return of a stopped start.
  TextChunks chunks;
  EspeakText written;
};

}  // namespace KQ::engines
