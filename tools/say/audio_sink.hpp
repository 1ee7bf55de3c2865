#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace tool {

class StandardOutput;
class StopRequest;

/// Receives audio: mono, 16 bit. Every function throws Failure if it fails. If a sink is destroyed
/// before finish() or cutShort(), it leaves no file.
class AudioSink {
 public:
  virtual ~AudioSink() = default;

  /// Writes a piece of audio. Pass short pieces, so that you can check for a stop between them.
  /// \param samplingRate  in Hz, above 0
  virtual void write(const std::int16_t* samples, std::size_t count, int samplingRate) = 0;

  /// Call this after all audio: completes a file, or waits until a device has played it.
  /// \param samplingRate  the rate to name in a file without audio
  virtual void finish(int samplingRate) = 0;

  /// Call this after the user stopped the speech: completes a file, or silences a device.
  virtual void cutShort(int samplingRate) { finish(samplingRate); }
};

/// Where audio goes.
struct AudioDestination {
  std::string output;       ///< a file's path, "-" for standard output, or "" for an audio device
  std::string format = "";  ///< of audioFormatNames(), or "" for that of the file's ending
};

/// Opens the sink of a destination.
/// \throws Failure if it cannot be opened, UsageError if its format is not known or possible
std::unique_ptr<AudioSink> openAudioSink(const AudioDestination& destination,
                                         const StandardOutput& standardOutput,
                                         const StopRequest& stop);

}  // namespace tool
