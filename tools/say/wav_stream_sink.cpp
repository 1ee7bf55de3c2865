#include "say/wav_stream_sink.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "system/failure.hpp"
#include "system/standard_output.hpp"

namespace tool {

namespace {

constexpr std::uint32_t unknownLength = 0x7FFFF000;
constexpr std::uint32_t bytesPerSample = 2;

std::string littleEndian(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

std::string wavHeader(int samplingRate, std::uint32_t audioBytes) {
  const auto rate = static_cast<std::uint32_t>(samplingRate);
  const std::string format = littleEndian(1, 2) +  // linear PCM
                             littleEndian(1, 2) +  // channels
                             littleEndian(rate, 4) + littleEndian(rate * bytesPerSample, 4) +
                             littleEndian(bytesPerSample, 2) + littleEndian(8 * bytesPerSample, 2);
  const std::string rest = "WAVEfmt " + littleEndian(16, 4) + format + "data";
  const auto riffBytes = static_cast<std::uint32_t>(rest.size()) + 4 + audioBytes;
  return "RIFF" + littleEndian(riffBytes, 4) + rest + littleEndian(audioBytes, 4);
}

/// Where the next byte goes in a file whose bytes can be rewritten, or -1.
std::int64_t rewritablePosition(int fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return -1;
  if ((fcntl(fd, F_GETFL) & O_APPEND) != 0) return -1;
  return lseek(fd, 0, SEEK_CUR);
}

}  // namespace

WavStreamSink::WavStreamSink(FileDescriptor output, std::string outputName,
                             const StopRequest& stopRequest)
    : file(std::move(output)),
      name(std::move(outputName)),
      stop(stopRequest),
      headerPosition(rewritablePosition(file.get())) {}

void WavStreamSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (stop.wait(file.get(), POLLOUT) == StopRequest::Wait::stopped) return;
  if (rate == 0) writeHeader(samplingRate);
  if (samplingRate != rate) {
    throw Failure("the sampling rate changed in the middle of " + name,
                  "speak with one voice at a time");
  }
  std::string bytes;
  bytes.reserve(count * bytesPerSample);
  for (std::size_t i = 0; i < count; ++i) {
    const auto sample = static_cast<std::uint16_t>(samples[i]);
    bytes += static_cast<char>(sample & 0xFFU);
    bytes += static_cast<char>(sample >> 8U);
  }
  put(bytes);
  audioBytes += bytes.size();
}

void WavStreamSink::finish(int samplingRate) {
  if (rate == 0) writeHeader(samplingRate);
  if (headerPosition >= 0 && audioBytes <= unknownLength) correctHeader();
}

void WavStreamSink::writeHeader(int samplingRate) {
  put(wavHeader(samplingRate, unknownLength));
  rate = samplingRate;
}

void WavStreamSink::put(const std::string& bytes) {
  if (const int error = writeAll(file.get(), bytes.data(), bytes.size()); error != 0) {
    throw Failure("cannot write to " + name + ": " + std::strerror(error),
                  "see who reads it, or write a file with -o FILE.wav");
  }
}

void WavStreamSink::correctHeader() {
  const std::string header = wavHeader(rate, static_cast<std::uint32_t>(audioBytes));
  if (lseek(file.get(), headerPosition, SEEK_SET) < 0 ||
      writeAll(file.get(), header.data(), header.size()) != 0 ||
      lseek(file.get(), 0, SEEK_END) < 0) {
    throw Failure("cannot complete the header of " + name, "write a file with -o FILE.wav");
  }
}

}  // namespace tool
