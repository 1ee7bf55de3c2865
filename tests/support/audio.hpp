#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace test {

using Samples = std::vector<std::int16_t>;

/// The number of samples, for arithmetic.
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

/// The longest run of samples no louder than `threshold`.
Stretch longestSilence(const Samples& samples, int threshold = 20);

/// The mean fundamental frequency of the voiced parts, in Hz, from the autocorrelation of windows; 0
/// if nothing is voiced.
double pitch(const Samples& samples, int samplingRate);

/// The samples of a mono 16-bit WAV file with a header of 44 bytes; none if it cannot be read.
Samples readWav(const std::string& file);

}  // namespace test
