#include "voice_level.hpp"

#include <ebur128.h>

#include <cmath>

namespace KQ::speaking {

namespace {

constexpr std::size_t secondsNeeded = 2;
constexpr std::size_t secondsHeard = 10;

/// What the meter gives for silence, and for less than its first block of 400 ms.
constexpr double silenceLevel = -70;

}  // namespace

struct VoiceLevel::Meter {
  explicit Meter(int rate)
      : state(ebur128_init(1, static_cast<unsigned long>(rate), EBUR128_MODE_I)) {}
  ~Meter() { ebur128_destroy(&state); }
  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;

  ebur128_state* state;
};

VoiceLevel::VoiceLevel(int samplingRate)
    : rate(samplingRate),
      needed(secondsNeeded * static_cast<std::size_t>(samplingRate)),
      meter(std::make_unique<Meter>(samplingRate)) {}

VoiceLevel::~VoiceLevel() = default;

void VoiceLevel::hear(const std::int16_t* samples, std::size_t count) {
  if (meter->state == nullptr || heard > secondsHeard * static_cast<std::size_t>(rate)) {
    return;
  }
  ebur128_add_frames_short(meter->state, samples, count);
  heard += count;
}

std::optional<double> VoiceLevel::loudness() const {
  double level = 0;
  if (meter->state == nullptr || ebur128_loudness_global(meter->state, &level) != EBUR128_SUCCESS ||
      level < silenceLevel || !std::isfinite(level)) {
    return std::nullopt;
  }
  return level;
}

}  // namespace KQ::speaking
