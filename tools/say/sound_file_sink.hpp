#pragma once

#include <sndfile.h>

#include <memory>
#include <string>

#include "say/audio_format.hpp"
#include "say/audio_sink.hpp"
#include "system/replaced_file.hpp"

namespace tool {

/// An audio file that appears when it is complete.
class SoundFileSink : public AudioSink {
 public:
  SoundFileSink(const std::string& path, const AudioFormat& audioFormat);

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;

 private:
  struct Close {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
  };

  void open(int samplingRate);
  [[noreturn]] void fail(const std::string& reason) const;

  std::string name;
  const AudioFormat& format;
  ReplacedFile file;
  std::unique_ptr<SNDFILE, Close> sound;  ///< null until the sampling rate is known
  int rate = 0;
  std::uint64_t samplesWritten = 0;
};

}  // namespace tool
