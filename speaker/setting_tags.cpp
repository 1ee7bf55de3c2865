#include <algorithm>
#include <cmath>

#include "text_reader.hpp"

namespace KQ::speaking {

namespace {

/// Engines take a number that is out of range as the nearest in range.
std::string percentTag(const char* name, float factor) {
  return factor == 1
             ? ""
             : "\\" + std::string(name) + "=" + std::to_string(std::lround(factor * 100)) + "\\";
}

}  // namespace

std::string settingTags(float rate, float pitch, float volume) {
  constexpr float most = 100;  // far beyond what engines take
  return percentTag("RSPD", std::clamp(rate, 0.0F, most)) +
         percentTag("VCT", std::clamp(pitch, 0.0F, most)) +
         percentTag("Vol", std::clamp(volume, 0.0F, 1.0F));
}

}  // namespace KQ::speaking
