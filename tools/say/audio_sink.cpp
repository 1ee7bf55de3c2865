#include "say/audio_sink.hpp"

#include <boost/filesystem/operations.hpp>

#include "say/audio_device_sink.hpp"
#include "say/audio_format.hpp"
#include "say/raw_stream_sink.hpp"
#include "say/sound_file_sink.hpp"
#include "say/wav_stream_sink.hpp"
#include "system/failure.hpp"
#include "system/standard_output.hpp"

namespace tool {

namespace {

/// A pipe or a device cannot be replaced by a finished file, only written to.
bool isStream(const std::string& path) {
  boost::system::error_code ignored;
  return boost::filesystem::is_other(path, ignored);
}

/// Opens a sink for a reader that takes the audio while it grows.
std::unique_ptr<AudioSink> openStream(FileDescriptor file, const std::string& name,
                                      const std::string& formatName, const StopRequest& stop) {
  const AudioFormat& format = audioFormatOf(formatName, "");
  if (!format.streams) {
    throw UsageError(std::string(format.name) + " cannot be written to " + name,
                     "write wav or raw, or a file");
  }
  if (std::string(format.name) == "raw") {
    return std::make_unique<RawStreamSink>(std::move(file), name, stop);
  }
  return std::make_unique<WavStreamSink>(std::move(file), name, stop);
}

}  // namespace

std::unique_ptr<AudioSink> openAudioSink(const AudioDestination& destination,
                                         const StandardOutput& standardOutput,
                                         const StopRequest& stop) {
  const auto& [output, format] = destination;
  if (output.empty()) {
    return std::make_unique<AudioDeviceSink>();
  }
  if (output == "-") {
    return openStream(FileDescriptor::duplicateOf(standardOutput.descriptor()), "standard output",
                      format, stop);
  }
  if (isStream(output)) {
    return openStream(FileDescriptor::openForWriting(output), output, format, stop);
  }
  return std::make_unique<SoundFileSink>(output, audioFormatOf(format, output));
}

}  // namespace tool
