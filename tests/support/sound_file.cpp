#include "support/sound_file.hpp"

#include <sndfile.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace tool_test {

Sound readSound(const std::string& path) {
  SF_INFO format{};
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_READ, &format),
                                                         sf_close);
  Sound sound;
  if (!file || format.channels != 1 || format.format != (SF_FORMAT_WAV | SF_FORMAT_PCM_16)) {
    return sound;
  }
  sound.samplingRate = format.samplerate;
  sound.samples.resize(static_cast<std::size_t>(format.frames));
  const sf_count_t read = sf_readf_short(file.get(), sound.samples.data(), format.frames);
  sound.samples.resize(static_cast<std::size_t>(read));
  return sound;
}

std::string readBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tool_test
