#pragma once

#include <cstdint>
#include <memory>

#include "audio/audio_stage.hpp"

namespace soundtouch {
class SoundTouch;
}

namespace KQ::engines {

/// Shifts the pitch. Keeps length and positions to within 30 ms, and delays audio by up to 0.2 s.
class PitchShifter : public AudioStage {
 public:
  /// \param samplingRate  in Hz, 8000 to 192000
  /// \param factor        0.25 to 4
  PitchShifter(int samplingRate, float factor);
  ~PitchShifter() override;

  void process(const AudioBlock& in, AudioBlock& out) override;
  void finish(AudioBlock& out) override;

 private:
  void receive(AudioBlock& out);

  std::unique_ptr<soundtouch::SoundTouch> shifter;
  std::uint64_t taken = 0;
  std::uint64_t given = 0;
};

}  // namespace KQ::engines
