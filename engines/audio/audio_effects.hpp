#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio/audio_stage.hpp"
#include "audio/voice_tuning.hpp"

namespace KQ::engines {

/// The effects on the audio of an utterance, between the synthesiser and the host.
struct AudioEffects {
  float pitch = 1;  ///< factor, 0.25 to 4
  std::vector<DoubleVoice> doubleVoices;
  bool highPass = false;

  bool isAny() const { return pitch != 1 || !doubleVoices.empty() || highPass; }
};

/// Applies the effects to one utterance: first the pitch, then each double voice, then the
/// high-pass.
class EffectChain {
 public:
  /// \param samplingRate  in Hz, 8000 to 192000
  EffectChain(const AudioEffects& effects, int samplingRate);

  /// Takes audio. \return the audio that is ready, valid until the next call
  const std::vector<std::int16_t>& process(const std::int16_t* samples, std::size_t count);

  /// Ends the input. The last call. \return the rest of the audio
  const std::vector<std::int16_t>& finish();

 private:
  void passThrough(AudioStage& stage, bool isLast);
  const std::vector<std::int16_t>& toSamples();

  std::vector<std::unique_ptr<AudioStage>> stages;
  AudioBlock block;
  AudioBlock changed;
  std::vector<std::int16_t> result;
};

}  // namespace KQ::engines
