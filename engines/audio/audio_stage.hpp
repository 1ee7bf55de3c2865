#pragma once

#include <vector>

namespace KQ::engines {

/// Mono samples, -1 to 1.
using AudioBlock = std::vector<float>;

/// Changes audio on its way to the host, block by block. What comes out stands where it stood in
/// what went in, but may come later, and may go on behind its end. Used by one thread.
class AudioStage {
 public:
  virtual ~AudioStage() = default;

  /// Takes a block, and appends to `out` what is ready.
  virtual void process(const AudioBlock& in, AudioBlock& out) = 0;

  /// Nothing more comes: appends all that is left. The last call.
  virtual void finish(AudioBlock& out) = 0;
};

}  // namespace KQ::engines
