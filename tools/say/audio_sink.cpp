#include "say/audio_sink.hpp"

#include <boost/filesystem/operations.hpp>

#include "say/audio_device_sink.hpp"
#include "say/wav_file_sink.hpp"
#include "say/wav_stream_sink.hpp"
#include "system/standard_output.hpp"

namespace tool {

namespace {

/// A pipe or a device cannot be replaced by a finished file, only written to.
bool isStream(const std::string& path) {
  boost::system::error_code ignored;
  return boost::filesystem::is_other(path, ignored);
}

}  // namespace

std::unique_ptr<AudioSink> openAudioSink(const std::string& output,
                                         const StandardOutput& standardOutput,
                                         const StopRequest& stop) {
  if (output.empty()) {
    return std::make_unique<AudioDeviceSink>();
  }
  if (output == "-") {
    return std::make_unique<WavStreamSink>(FileDescriptor::duplicateOf(standardOutput.descriptor()),
                                           "standard output", stop);
  }
  if (isStream(output)) {
    return std::make_unique<WavStreamSink>(FileDescriptor::openForWriting(output), output, stop);
  }
  return std::make_unique<WavFileSink>(output);
}

}  // namespace tool
