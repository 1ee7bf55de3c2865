#include "support/sound_file.hpp"

#include <sndfile.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace tool_test {

namespace {

constexpr int wav = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

Sound readMono(const std::string& path, bool isWavOnly) {
  SF_INFO format{};
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(sf_open(path.c_str(), SFM_READ, &format),
                                                         sf_close);
  Sound sound;
  if (!file || format.channels != 1 || (isWavOnly && format.format != wav)) {
    return sound;
  }
  sound.samplingRate = format.samplerate;
  sound.samples.resize(static_cast<std::size_t>(format.frames));
  const sf_count_t read = sf_readf_short(file.get(), sound.samples.data(), format.frames);
  sound.samples.resize(static_cast<std::size_t>(read));
  return sound;
}

}  // namespace

Sound readSound(const std::string& path) {
  return readMono(path, true);
}

Sound readSoundOfAnyFormat(const std::string& path) {
  return readMono(path, false);
}

std::string readBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tool_test
