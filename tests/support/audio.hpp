#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace test {

using Samples = std::vector<std::int16_t>;

/// The number of samples, as a number for arithmetic.
inline double length(const Samples& samples) {
  return static_cast<double>(samples.size());
}

/// A run of samples.
struct Stretch {
  std::size_t begin;
  std::size_t length;
};

/// The root mean square of the samples, from 0 to 32768.
double level(const Samples& samples);

/// A sine tone.
/// \param amplitude  0 to 32767
Samples tone(double frequency, std::size_t count, int samplingRate, double amplitude = 8000);

/// The amplitude of one frequency in the samples.
double amplitudeAt(const Samples& samples, double frequency, int samplingRate);

/// `second` minus `first`, sample by sample. The part of `second` that is longer stays as it is.
Samples difference(const Samples& first, const Samples& second);

/// By how many samples `second` is later than `first`: the shift, in steps of 1 ms and up to one
/// second, at which their envelopes match best.
double delayBetween(const Samples& first, const Samples& second, int samplingRate);

/// The longest run of samples no louder than `threshold`.
Stretch longestSilence(const Samples& samples, int threshold = 20);

/// The median fundamental frequency of the voiced parts in Hz, measured by autocorrelation; 0 if
/// nothing is voiced.
double pitch(const Samples& samples, int samplingRate);

/// The samples of a mono 16-bit WAV file with a header of 44 bytes; none if it cannot be read.
Samples readWav(const std::string& file);

}  // namespace test
