#pragma once

#include <vector>

namespace KQ::engines {

/// Mono samples, -1 to 1.
using AudioBlock = std::vector<float>;

/// Changes audio block by block. Output samples keep the positions of the input, but may come out
/// in a later call, and may go on after the end of the input. Used by one thread.
class AudioStage {
 public:
  virtual ~AudioStage() = default;

  /// Takes a block, and appends the audio that is ready to `out`.
  virtual void process(const AudioBlock& in, AudioBlock& out) = 0;

  /// Ends the input: appends the rest of the audio to `out`. The last call.
  virtual void finish(AudioBlock& out) = 0;
};

}  // namespace KQ::engines
