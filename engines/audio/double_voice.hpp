#pragma once

#include "audio/audio_stage.hpp"
#include "audio/pitch_shifter.hpp"
#include "audio/voice_tuning.hpp"

namespace KQ::engines {

/// Mixes in a second copy of the voice. The output is longer than the input by the copy's delay.
class DoubleVoiceMixer : public AudioStage {
 public:
  /// \param samplingRate  in Hz, 8000 to 192000
  DoubleVoiceMixer(int samplingRate, const DoubleVoice& copy);

  void process(const AudioBlock& in, AudioBlock& out) override;
  void finish(AudioBlock& out) override;

 private:
  void mix(AudioBlock& out);

  PitchShifter shifter;
  const float level;
  // The parts that are not mixed yet; both begin at the same place.
  AudioBlock voice;
  AudioBlock second;
};

}  // namespace KQ::engines
