#include "say/wav_stream_sink.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/endian/conversion.hpp>
#include <cstring>
#include <utility>

#include "system/failure.hpp"
#include "system/standard_output.hpp"

namespace tool {

namespace {

constexpr std::uint32_t unknownLength = 0x7FFFF000;
constexpr std::size_t sizeField = 4;  ///< the length of a chunk comes after its name
constexpr const char* adviceForStreams = "see who reads it, or write a file with -o FILE.wav";

/// Where the next byte goes in a file whose bytes can be rewritten, or -1.
std::int64_t rewritablePosition(int fd) {
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    return -1;
  }
  if ((fcntl(fd, F_GETFL) & O_APPEND) != 0) {
    return -1;
  }
  return lseek(fd, 0, SEEK_CUR);
}

void setLength(std::string& header, std::size_t chunk, std::uint32_t length) {
  auto* const field = reinterpret_cast<unsigned char*>(&header[chunk + sizeField]);
  boost::endian::store_little_u32(field, length);
}

/// The header of a WAV of unknown length, made from that of an empty one.
std::string openEnded(std::string header) {
  const std::size_t dataChunk = header.size() - 2 * sizeField;
  setLength(header, dataChunk, unknownLength);
  setLength(header, 0, static_cast<std::uint32_t>(dataChunk) + unknownLength);
  return header;
}

}  // namespace

WavStreamSink::WavStreamSink(FileDescriptor output, std::string outputName,
                             const StopRequest& stopRequest)
    : file(std::move(output)),
      name(std::move(outputName)),
      stop(stopRequest),
      headerPosition(rewritablePosition(file.get())) {}

void WavStreamSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (stop.wait(file.get(), POLLOUT) == StopRequest::Wait::stopped) {
    return;
  }
  if (!sound) {
    open(samplingRate);
  }
  if (samplingRate != rate) {
    throw Failure("the sampling rate changed in the middle of " + name,
                  "speak with one voice at a time");
  }
  const auto frames = static_cast<sf_count_t>(count);
  if (sf_writef_short(sound.get(), samples, frames) != frames) {
    fail(std::strerror(error));
  }
}

void WavStreamSink::finish(int samplingRate) {
  if (!sound) {
    open(samplingRate);
  }
  sf_close(sound.release());  // writes the header again, with the true length
  if (headerPosition < 0 || audioBytes > unknownLength) {
    return;
  }
  if (lseek(file.get(), headerPosition, SEEK_SET) < 0 ||
      writeAll(file.get(), header.data(), header.size()) != 0 ||
      lseek(file.get(), 0, SEEK_END) < 0) {
    throw Failure("cannot complete the header of " + name, "write a file with -o FILE.wav");
  }
}

void WavStreamSink::open(int samplingRate) {
  SF_INFO format{};
  format.samplerate = samplingRate;
  format.channels = 1;
  format.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SF_VIRTUAL_IO io = functions();
  sound.reset(sf_open_virtual(&io, SFM_WRITE, &format, this));
  if (!sound) {
    fail(sf_strerror(nullptr));
  }
  rate = samplingRate;
  const std::string text = openEnded(header);
  if (const int failure = writeAll(file.get(), text.data(), text.size()); failure != 0) {
    fail(std::strerror(failure));
  }
}

void WavStreamSink::fail(const std::string& reason) const {
  throw Failure("cannot write to " + name + ": " + reason, adviceForStreams);
}

SF_VIRTUAL_IO WavStreamSink::functions() {
  return {[](void* user) { return static_cast<WavStreamSink*>(user)->length(); },
          [](sf_count_t offset, int from, void* user) {
            return static_cast<WavStreamSink*>(user)->seek(offset, from);
          },
          [](void*, sf_count_t, void*) { return sf_count_t{0}; },
          [](const void* bytes, sf_count_t count, void* user) {
            return static_cast<WavStreamSink*>(user)->take(static_cast<const char*>(bytes), count);
          },
          [](void* user) { return static_cast<WavStreamSink*>(user)->position; }};
}

sf_count_t WavStreamSink::length() const {
  return static_cast<sf_count_t>(header.size() + audioBytes);
}

sf_count_t WavStreamSink::seek(sf_count_t offset, int from) {
  if (from == SEEK_CUR) {
    offset += position;
  } else if (from == SEEK_END) {
    offset += length();
  }
  position = offset;
  return position;
}

sf_count_t WavStreamSink::take(const char* bytes, sf_count_t count) {
  const auto size = static_cast<std::size_t>(count);
  if (rate == 0 || position < static_cast<sf_count_t>(header.size())) {
    header.replace(static_cast<std::size_t>(position), size, bytes, size);
  } else {
    error = writeAll(file.get(), bytes, size);
    if (error != 0) {
      return 0;
    }
    audioBytes += size;
  }
  position += count;
  return count;
}

}  // namespace tool
