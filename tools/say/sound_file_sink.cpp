#include "say/sound_file_sink.hpp"

#include "system/failure.hpp"

namespace tool {

namespace {

/// What the 32-bit lengths of a WAV can hold, a header set aside.
constexpr std::uint64_t maxWavSamples = 0xFFFFFF00 / sizeof(std::int16_t);

}  // namespace

SoundFileSink::SoundFileSink(const std::string& path, const AudioFormat& audioFormat)
    : name(path),
      format(audioFormat),
      file(path, "name a file that can be written with -o FILE.wav") {}

void SoundFileSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (!sound) {
    open(samplingRate);
  }
  if (samplingRate != rate) {
    fail("the sampling rate changed in the middle");
  }
  samplesWritten += count;
  const bool isWav = (static_cast<unsigned>(format.sndfile) & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAV;
  if (isWav && samplesWritten > maxWavSamples) {
    fail("a WAV file cannot hold more than 4 GiB");
  }
  const auto frames = static_cast<sf_count_t>(count);
  if (sf_writef_short(sound.get(), samples, frames) != frames) {
    fail(sf_strerror(sound.get()));
  }
}

void SoundFileSink::finish(int samplingRate) {
  if (!sound) {
    open(samplingRate);
  }
  if (sf_close(sound.release()) != 0) {
    fail("it cannot be completed");
  }
  file.commit();
}

void SoundFileSink::open(int samplingRate) {
  SF_INFO info{};
  info.samplerate = samplingRate;
  info.channels = 1;
  info.format = format.sndfile;
  sound.reset(sf_open_fd(file.descriptor(), SFM_WRITE, &info, SF_FALSE));
  if (!sound) {
    fail(sf_strerror(nullptr));
  }
  rate = samplingRate;
}

void SoundFileSink::fail(const std::string& reason) const {
  throw Failure("cannot write " + name + ": " + reason, "name another file with -o FILE.wav");
}

}  // namespace tool
