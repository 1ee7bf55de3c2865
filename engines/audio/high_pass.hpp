#pragma once

#include <array>

#include "audio/audio_stage.hpp"

namespace KQ::engines {

/// Removes frequencies that a small loudspeaker cannot radiate: a Butterworth high-pass of the
/// fourth order, 24 dB an octave.
class HighPass : public AudioStage {
 public:
  /// The frequency at which the level is 3 dB down, in Hz. Full-range loudspeakers of 4 to 5 cm
  /// resonate at about 200 Hz: lower tones move the cone and are hardly heard. The band of
  /// telephony begins higher, at 300 Hz (ITU-T G.712), so speech stays as easy to understand as on
  /// the telephone.
  static constexpr double cutOff = 200;

  /// \param samplingRate  in Hz, 8000 to 192000
  explicit HighPass(int samplingRate);

  void process(const AudioBlock& in, AudioBlock& out) override;
  void finish(AudioBlock& /*out*/) override {}

 private:
  /// One of the two halves, of the second order, in transposed direct form II.
  class Section {
   public:
    Section(int samplingRate, double quality);
    float step(float sample);

   private:
    double b0, b1, b2, a1, a2;
    double first = 0;
    double second = 0;
  };

  std::array<Section, 2> sections;
};

}  // namespace KQ::engines
