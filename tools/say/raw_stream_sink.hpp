#pragma once

#include <string>

#include "say/audio_sink.hpp"
#include "system/file_descriptor.hpp"
#include "system/stop_request.hpp"

namespace tool {

/// Writes samples to a pipe, a device or standard output, as they are: 16 bit, the lower byte
/// first.
class RawStreamSink : public AudioSink {
 public:
  /// \param outputName   the name of the output in a failure
  /// \param stopRequest  ends the wait for a reader that does not read
  RawStreamSink(FileDescriptor output, std::string outputName, const StopRequest& stopRequest);

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;

 private:
  FileDescriptor file;
  std::string name;
  const StopRequest& stop;
  int rate = 0;
};

}  // namespace tool
