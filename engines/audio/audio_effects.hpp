#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio/audio_stage.hpp"
#include "audio/voice_tuning.hpp"

namespace KQ::engines {

/// What is done to an utterance's audio between the synthesiser and the host.
struct AudioEffects {
  float pitch = 1;  ///< factor, 0.25 to 4
  std::vector<DoubleVoice> doubleVoices;
  bool highPass = false;

  bool isAny() const { return pitch != 1 || !doubleVoices.empty() || highPass; }
};

/// The effects at work on one utterance: pitch first, then each double voice, the high-pass last.
class EffectChain {
 public:
  /// \param samplingRate  in Hz, 8000 to 192000
  EffectChain(const AudioEffects& effects, int samplingRate);

  /// Takes audio. \return what is ready, valid until the next call
  const std::vector<std::int16_t>& process(const std::int16_t* samples, std::size_t count);

  /// Nothing more comes. \return all that is left. The last call
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
