#pragma once

#include <string>

#include "say/audio_sink.hpp"
#include "system/file_descriptor.hpp"
#include "system/stop_request.hpp"

namespace tool {

/// A WAV that is read while it is written: to a pipe, a device or standard output.
///
/// Its header gives the length that stands for "until the end" (0x7FFFF000 bytes of audio). Where
/// the output turns out to be a file, the header gets the true length at the end.
class WavStreamSink : public AudioSink {
 public:
  /// \param outputName   what a failure calls the output
  /// \param stopRequest  ends the wait for a reader that does not read
  WavStreamSink(FileDescriptor output, std::string outputName, const StopRequest& stopRequest);

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;

 private:
  void writeHeader(int samplingRate);
  void put(const std::string& bytes);
  void correctHeader();

  FileDescriptor file;
  std::string name;
  const StopRequest& stop;
  std::int64_t headerPosition;  ///< where the header can be written again, or -1
  int rate = 0;                 ///< 0 until the header is written
  std::uint64_t audioBytes = 0;
};

}  // namespace tool
