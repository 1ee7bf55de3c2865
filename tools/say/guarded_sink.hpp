#pragma once

#include <chrono>
#include <memory>
#include <mutex>

#include "say/audio_sink.hpp"

namespace tool {

/// A sink that another thread can end. What is written after its end is ignored.
class GuardedSink : public AudioSink {
 public:
  explicit GuardedSink(std::unique_ptr<AudioSink> guarded);

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;
  void cutShort(int samplingRate) override;

  /// Ends the sink with the audio that it has received, from any thread: completes a file, or
  /// silences a device. Does nothing if the sink is at an end or failed, or if a call of another
  /// thread does not return in time.
  void abandon(std::chrono::milliseconds patience) noexcept;

 private:
  std::unique_ptr<AudioSink> sink;
  std::timed_mutex mutex;  ///< guards the members below, and the sink
  bool ended = false;
  int rate;  ///< of the last piece of audio
};

}  // namespace tool
