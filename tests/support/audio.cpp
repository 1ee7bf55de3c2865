#include "support/audio.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>

namespace test {

namespace {

constexpr std::size_t wavHeader = 44;
constexpr double lowestPitch = 60;
constexpr double highestPitch = 400;

double correlation(const std::int16_t* first, const std::int16_t* second, std::size_t count) {
  double product = 0;
  double firstEnergy = 1;
  double secondEnergy = 1;
  for (std::size_t i = 0; i < count; ++i) {
    product += double{1} * first[i] * second[i];
    firstEnergy += double{1} * first[i] * first[i];
    secondEnergy += double{1} * second[i] * second[i];
  }
  return product / std::sqrt(firstEnergy * secondEnergy);
}

/// The pitch of a window of two longest periods; 0 if it is not voiced.
double pitchAt(const std::int16_t* samples, std::size_t longestPeriod, int samplingRate) {
  const auto shortestPeriod = static_cast<std::size_t>(samplingRate / highestPitch);
  std::size_t bestPeriod = 0;
  double best = 0.8;
  for (std::size_t period = shortestPeriod; period <= longestPeriod; ++period) {
    const double here = correlation(samples, samples + period, longestPeriod);
    if (here > best + 0.02) {
      best = here;
      bestPeriod = period;
    }
  }
  return bestPeriod == 0 ? 0 : double{1} * samplingRate / static_cast<double>(bestPeriod);
}

}  // namespace

double level(const Samples& samples) {
  const double energy = std::accumulate(
      samples.begin(), samples.end(), 0.0,
      [](double sum, std::int16_t sample) { return sum + double{1} * sample * sample; });
  return samples.empty() ? 0 : std::sqrt(energy / static_cast<double>(samples.size()));
}

Samples tone(double frequency, std::size_t count, int samplingRate, double amplitude) {
  Samples samples(count);
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = 2 * M_PI * frequency * static_cast<double>(i) / samplingRate;
    samples[i] = static_cast<std::int16_t>(std::lround(amplitude * std::sin(angle)));
  }
  return samples;
}

double amplitudeAt(const Samples& samples, double frequency, int samplingRate) {
  double real = 0;
  double imaginary = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double angle = 2 * M_PI * frequency * static_cast<double>(i) / samplingRate;
    real += samples[i] * std::cos(angle);
    imaginary += samples[i] * std::sin(angle);
  }
  return samples.empty() ? 0
                         : 2 * std::hypot(real, imaginary) / static_cast<double>(samples.size());
}

double delayBetween(const Samples& first, const Samples& second, int samplingRate) {
  const auto step = static_cast<std::size_t>(samplingRate / 1000);
  const auto envelope = [&](const Samples& samples) {
    std::vector<double> levels;
    for (std::size_t i = 0; i + 10 * step <= samples.size(); i += step) {
      const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(i);
      levels.push_back(level(Samples(begin, begin + static_cast<std::ptrdiff_t>(10 * step))));
    }
    return levels;
  };
  const std::vector<double> left = envelope(first);
  const std::vector<double> right = envelope(second);
  double best = -1;
  std::size_t bestShift = 0;
  for (std::size_t shift = 0; shift < std::min<std::size_t>(1000, right.size()); ++shift) {
    const std::size_t count = std::min(left.size(), right.size() - shift);
    const double fit = std::inner_product(left.begin(), left.begin() + static_cast<long>(count),
                                          right.begin() + static_cast<long>(shift), 0.0);
    if (fit > best) {
      best = fit;
      bestShift = shift;
    }
  }
  return static_cast<double>(bestShift * step);
}

Stretch longestSilence(const Samples& samples, int threshold) {
  Stretch longest{0, 0};
  std::size_t begin = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) > threshold) {
      begin = i + 1;
    } else if (i + 1 - begin > longest.length) {
      longest = {begin, i + 1 - begin};
    }
  }
  return longest;
}

double pitch(const Samples& samples, int samplingRate) {
  const auto longestPeriod = static_cast<std::size_t>(samplingRate / lowestPitch);
  std::vector<double> voiced;
  for (std::size_t i = 0; i + 2 * longestPeriod < samples.size(); i += longestPeriod) {
    const double here = pitchAt(samples.data() + i, longestPeriod, samplingRate);
    if (here > 0) {
      voiced.push_back(here);
    }
  }
  if (voiced.empty()) {
    return 0;
  }
  const auto middle = voiced.begin() + static_cast<std::ptrdiff_t>(voiced.size() / 2);
  std::nth_element(voiced.begin(), middle, voiced.end());
  return *middle;
}

Samples difference(const Samples& first, const Samples& second) {
  Samples rest = second;
  for (std::size_t i = 0; i < std::min(first.size(), second.size()); ++i) {
    rest[i] = static_cast<std::int16_t>(second[i] - first[i]);
  }
  return rest;
}

Samples readWav(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  Samples samples;
  for (std::size_t i = wavHeader; i + 1 < bytes.size(); i += 2) {
    const auto low = static_cast<unsigned char>(bytes[i]);
    const auto high = static_cast<unsigned char>(bytes[i + 1]);
    samples.push_back(static_cast<std::int16_t>(low | high << 8U));
  }
  return samples;
}

}  // namespace test
