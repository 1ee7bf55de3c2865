#pragma once

#include <optional>
#include <string>

namespace KQ::speaking {

// What the values of SSML's attributes mean. Nothing is returned for what is no value.

/// A time such as "500ms" or "1.5s", in milliseconds, at most ten minutes.
std::optional<int> millisecondsOf(const std::string& time);

/// The pause that a break's strength stands for, in milliseconds.
std::optional<int> pauseOf(const std::string& strength);

/// Factors to the rate, pitch and level around: of "slow", "120%", "+10%", "1.2", "+2st", "-6dB".
std::optional<float> rateFactor(const std::string& rate);
std::optional<float> pitchFactor(const std::string& pitch);
std::optional<float> volumeFactor(const std::string& volume);

/// How an emphasis changes the voice.
struct Emphasis {
  float rate = 1;
  float pitch = 1;
  float volume = 1;
};
Emphasis emphasisOf(const std::string& level);

}  // namespace KQ::speaking
