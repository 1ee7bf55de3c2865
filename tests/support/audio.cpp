#include "support/audio.hpp"

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

/// The pitch of a window of twice the longest period, 0 if it is not voiced.
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
  double sum = 0;
  int voiced = 0;
  for (std::size_t i = 0; i + 2 * longestPeriod < samples.size(); i += longestPeriod) {
    const double here = pitchAt(samples.data() + i, longestPeriod, samplingRate);
    sum += here;
    voiced += here > 0 ? 1 : 0;
  }
  return voiced == 0 ? 0 : sum / voiced;
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
