#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tool_test {

struct Sound {
  std::vector<std::int16_t> samples;
  int samplingRate = 0;  ///< 0 if the file is not a mono 16-bit WAV
};

Sound readSound(const std::string& path);

/// The same for a file of any format.
Sound readSoundOfAnyFormat(const std::string& path);

/// All bytes of a file.
std::string readBytes(const std::string& path);

}  // namespace tool_test
