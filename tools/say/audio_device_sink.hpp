#pragma once

#include <portaudio.h>

#include <string>

#include "say/audio_sink.hpp"

namespace tool {

/// The default audio device. write() returns as fast as the device plays.
class AudioDeviceSink : public AudioSink {
 public:
  /// \throws Failure when there is no device
  AudioDeviceSink();
  ~AudioDeviceSink() override;

  /// The device's name.
  std::string name() const;

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;
  void cutShort(int samplingRate) override;

 private:
  void open(int samplingRate);
  void close();

  PaStream* stream = nullptr;
  int rate = 0;
};

}  // namespace tool
