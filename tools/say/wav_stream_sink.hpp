#pragma once

#include <sndfile.h>

#include <memory>
#include <string>

#include "say/audio_sink.hpp"
#include "system/file_descriptor.hpp"
#include "system/stop_request.hpp"

namespace tool {

/// Writes a WAV to a pipe, a device or standard output, where a reader takes it while it grows.
///
/// The header names the length that stands for "until the end": 0x7FFFF000 bytes of audio. If the
/// output is a file, finish() corrects it.
class WavStreamSink : public AudioSink {
 public:
  /// \param outputName   the name of the output in a failure
  /// \param stopRequest  ends the wait for a reader that does not read
  WavStreamSink(FileDescriptor output, std::string outputName, const StopRequest& stopRequest);

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;

 private:
  struct Close {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
  };

  void open(int samplingRate);
  [[noreturn]] void fail(const std::string& reason) const;

  /// \name The file as libsndfile sees it
  /// @{
  static SF_VIRTUAL_IO functions();
  sf_count_t length() const;
  sf_count_t seek(sf_count_t offset, int from);
  sf_count_t take(const char* bytes, sf_count_t count);
  /// @}

  FileDescriptor file;
  std::string name;
  const StopRequest& stop;
  std::int64_t headerPosition;            ///< where the header can be written again, or -1
  int rate = 0;                           ///< 0 until the header is written
  std::string header;                     ///< as libsndfile wrote it last
  sf_count_t position = 0;                ///< where libsndfile writes next
  std::uint64_t audioBytes = 0;           ///< that were written after the header
  int error = 0;                          ///< of the last system call that failed
  std::unique_ptr<SNDFILE, Close> sound;  ///< null until the sampling rate is known
};

}  // namespace tool
