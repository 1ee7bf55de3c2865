#pragma once

#include <vector>

#include "engine/parameter_table.hpp"
#include "engine/synthesizer.hpp"
#include "engine/turn_queue.hpp"

namespace KQ::engines {

/// The synthesiser's name in the engine, errors and logs.
inline constexpr const char* logName = "Log";

inline constexpr const char* logCategory = "engine.log";

namespace parameters {
/// Factor to the time that speech would take; 0 emits everything at once.
constexpr ParameterRow speechTime{"speechTime", 0, 0, 10, false};
}  // namespace parameters

/// Speaks without sound: emits words and marks at the pace of speech, and writes one record to the
/// log for each utterance. Each engine has a queue of its own.
class LogSynthesizer : public Synthesizer {
 public:
  /// The engine's own parameters, besides those of all engines. SpeechSettings::more has their
  /// values.
  static std::vector<ParameterRow> ownParameters() { return {parameters::speechTime}; }

  /// The rate in which positions of words and marks count, in Hz.
  static constexpr int positionRate = 16000;

  int samplingRate(const std::string& /*sourceVoice*/) const override { return positionRate; }
  /// Accepts any name, because it takes the place of every voice.
  bool hasVoice(const std::string& sourceVoice) const override { return !sourceVoice.empty(); }
  TurnQueue& turns() override { return queue; }
  void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) override;
  void skip(SpokenText& text, const SpeechSettings& settings) override;

 private:
  TurnQueue queue{logName};
};

}  // namespace KQ::engines
