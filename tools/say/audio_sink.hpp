#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tool {

class StandardOutput;
class StopRequest;

/// Where the audio goes: mono, 16 bit. Every function throws Failure when it cannot do its work; a
/// sink that is destroyed before finish() or cutShort() leaves nothing behind.
class AudioSink {
 public:
  virtual ~AudioSink() = default;

  /// Takes a piece of audio. A piece is short, so that the caller can look for a stop between two.
  /// \param samplingRate  in Hz, above 0
  virtual void write(const std::int16_t* samples, std::size_t count, int samplingRate) = 0;

  /// All audio was written: a file is complete, a device has played it to the end.
  /// \param samplingRate  what to note in a file without audio
  virtual void finish(int samplingRate) = 0;

  /// The user stopped the speech: a file is complete with what was written, a device is silent.
  virtual void cutShort(int samplingRate) { finish(samplingRate); }
};

/// Opens the sink that an output argument names.
/// \param output  a file's path, "-" for standard output, or "" for the default audio device
/// \throws Failure when it cannot be opened
std::unique_ptr<AudioSink> openAudioSink(const std::string& output,
                                         const StandardOutput& standardOutput,
                                         const StopRequest& stop);

}  // namespace tool
