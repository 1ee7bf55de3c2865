#pragma once

#include "engine/parameter_table.hpp"
#include "engine/synthesizer.hpp"
#include "engine/turn_queue.hpp"

namespace KQ::engines {

/// The name by which engine, errors and logs call it.
inline constexpr const char* logName = "Log";

inline constexpr const char* logCategory = "engine.log";

namespace parameters {
/// Factor to the time that speech would take; at 0 all is said at once.
constexpr ParameterRow speechTime{"speechTime", 0, 0, 10, false};
}  // namespace parameters

/// Speaks without a sound: tells words and marks in the time that speech would take, and writes one
/// record to the log for each utterance. Utterances of an engine are told one after another.
class LogSynthesizer : public Synthesizer {
 public:
  /// That of the positions of words and marks, in Hz.
  static constexpr int positionRate = 16000;

  int samplingRate(const std::string& /*sourceVoice*/) const override { return positionRate; }
  /// It stands in for any voice.
  bool hasVoice(const std::string& sourceVoice) const override { return !sourceVoice.empty(); }
  TurnQueue& turns() override { return queue; }
  void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) override;
  void skip(SpokenText& text, const SpeechSettings& settings) override;

 private:
  TurnQueue queue{logName};
};

}  // namespace KQ::engines
