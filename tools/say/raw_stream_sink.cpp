#include "say/raw_stream_sink.hpp"

#include <poll.h>

#include <boost/endian/conversion.hpp>
#include <cstring>
#include <utility>
#include <vector>

#include "system/failure.hpp"
#include "system/standard_output.hpp"

namespace tool {

RawStreamSink::RawStreamSink(FileDescriptor output, std::string outputName,
                             const StopRequest& stopRequest)
    : file(std::move(output)), name(std::move(outputName)), stop(stopRequest) {}

void RawStreamSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  if (stop.wait(file.get(), POLLOUT) == StopRequest::Wait::stopped) {
    return;
  }
  const int before = std::exchange(rate, samplingRate);
  if (before != 0 && before != samplingRate) {
    throw Failure("the sampling rate changed in the middle of " + name,
                  "speak with one voice at a time");
  }
  std::vector<std::int16_t> bytes(samples, samples + count);
  for (std::int16_t& sample : bytes) {
    boost::endian::native_to_little_inplace(sample);
  }
  const int error = writeAll(file.get(), bytes.data(), bytes.size() * sizeof bytes[0]);
  if (error != 0) {
    throw Failure("cannot write to " + name + ": " + std::strerror(error),
                  "see who reads it, or write a file with -o FILE.wav");
  }
}

void RawStreamSink::finish(int /*samplingRate*/) {}

}  // namespace tool
