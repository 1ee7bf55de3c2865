#include "text/number.hpp"

#include <charconv>
#include <cmath>

namespace tool {

std::optional<float> parseNumber(std::string_view text) {
  float number = 0;
  const char* const end = text.data() + text.size();
  const auto [stoppedAt, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stoppedAt != end || !std::isfinite(number)) {
    return std::nullopt;
  }
  return number;
}

}  // namespace tool
