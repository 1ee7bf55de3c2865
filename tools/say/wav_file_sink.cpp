#include "say/wav_file_sink.hpp"

#include "system/failure.hpp"

namespace tool {

namespace {

/// What the 32-bit lengths of the format can hold, a header set aside.
constexpr std::uint64_t maxSamples = 0xFFFFFF00 / sizeof(std::int16_t);

}  // namespace

WavFileSink::WavFileSink(const std::string& path)
    : name(path), file(path, "name a file that can be written with -o FILE.wav") {}

void WavFileSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (!sound) {
    open(samplingRate);
  }
  if (samplingRate != rate) {
    fail("the sampling rate changed in the middle");
  }
  samplesWritten += count;
  if (samplesWritten > maxSamples) {
    fail("a WAV file cannot hold more than 4 GiB");
  }
  const auto frames = static_cast<sf_count_t>(count);
  if (sf_writef_short(sound.get(), samples, frames) != frames) {
    fail(sf_strerror(sound.get()));
  }
}

void WavFileSink::finish(int samplingRate) {
  if (!sound) {
    open(samplingRate);
  }
  if (sf_close(sound.release()) != 0) {
    fail("it cannot be completed");
  }
  file.commit();
}

void WavFileSink::open(int samplingRate) {
  SF_INFO format{};
  format.samplerate = samplingRate;
  format.channels = 1;
  format.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  sound.reset(sf_open_fd(file.descriptor(), SFM_WRITE, &format, SF_FALSE));
  if (!sound) {
    fail(sf_strerror(nullptr));
  }
  rate = samplingRate;
}

void WavFileSink::fail(const std::string& reason) const {
  throw Failure("cannot write " + name + ": " + reason, "name another file with -o FILE.wav");
}

}  // namespace tool
