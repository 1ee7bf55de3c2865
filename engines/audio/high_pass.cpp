#include "audio/high_pass.hpp"

#include <cmath>

namespace KQ::engines {

namespace {

const double pi = std::acos(-1.0);

/// The quality of a fourth-order Butterworth filter's sections: 1 / (2 cos(pi / 8)) and
/// 1 / (2 cos(3 pi / 8)).
double quality(int oddNumber) {
  return 1 / (2 * std::cos(oddNumber * pi / 8));
}

}  // namespace

HighPass::HighPass(int samplingRate)
    : sections{Section(samplingRate, quality(1)), Section(samplingRate, quality(3))} {}

// The bilinear transform of s^2 / (s^2 + s / Q + 1).
HighPass::Section::Section(int samplingRate, double quality) {
  const double angle = 2 * pi * cutOff / samplingRate;
  const double alpha = std::sin(angle) / (2 * quality);
  const double cosine = std::cos(angle);
  const double a0 = 1 + alpha;
  b0 = (1 + cosine) / 2 / a0;
  b1 = -2 * b0;
  b2 = b0;
  a1 = -2 * cosine / a0;
  a2 = (1 - alpha) / a0;
}

float HighPass::Section::step(float sample) {
  const double result = b0 * double{sample} + first;
  first = b1 * double{sample} - a1 * result + second;
  second = b2 * double{sample} - a2 * result;
  return static_cast<float>(result);
}

void HighPass::process(const AudioBlock& in, AudioBlock& out) {
  for (const float sample : in) {
    out.push_back(sections[1].step(sections[0].step(sample)));
  }
}

}  // namespace KQ::engines
