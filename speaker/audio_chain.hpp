#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace KQ::speaking {

using Samples = std::vector<std::int16_t>;

class Resampler;
class VoiceLevel;

/// What happens to the audio of a segment on its way from its engine to the listener: another
/// sampling rate, another level, and, where two segments meet within a sentence, no silence.
class AudioChain {
 public:
  struct Plan {
    int inputRate = 0;   ///< the engine's, in Hz
    int outputRate = 0;  ///< the utterance's, in Hz
    float volume = 1;
    bool joinsPrevious = false;
    bool joinsNext = false;
    /// How loud this voice was so far; measured on, while it is not known well.
    VoiceLevel* level = nullptr;
    /// The voice whose loudness is to be had; null for as it is.
    const VoiceLevel* model = nullptr;
  };

  explicit AudioChain(const Plan& chainPlan);
  ~AudioChain();
  AudioChain(const AudioChain&) = delete;
  AudioChain& operator=(const AudioChain&) = delete;

  /// Whether the audio stays as it is, sample for sample.
  bool passesThrough() const;

  /// Measures audio that passes through.
  void hear(const std::int16_t* samples, std::size_t count);

  /// Takes audio of the engine, and appends what is ready.
  void process(const std::int16_t* samples, std::size_t count, Samples& ready);

  /// Appends what is left; nothing may follow.
  void finish(Samples& ready);

  /// Where a sample of the engine is in the audio of this chain.
  std::uint64_t placeOf(std::uint64_t engineSample) const;

 private:
  void afterRate(const std::int16_t* samples, std::size_t count, Samples& ready);
  void afterLevel(Samples& block, Samples& ready);
  void trim(const Samples& block, Samples& ready);
  void decideGain();
  void applyGain(Samples& block) const;

  Plan plan;
  std::unique_ptr<Resampler> resampler;
  float gain;
  bool isGainKnown;
  Samples prelude;          ///< held back until the gain is known
  bool isAtBegin;           ///< nothing but silence came so far, which is left out
  Samples silence;          ///< held back until something follows it
  std::size_t trimmed = 0;  ///< samples left out at the begin
};

}  // namespace KQ::speaking
