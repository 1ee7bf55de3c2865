#pragma once

#include <sndfile.h>

#include <memory>
#include <string>

#include "say/audio_sink.hpp"
#include "system/replaced_file.hpp"

namespace tool {

/// A WAV file that appears when it is complete.
class WavFileSink : public AudioSink {
 public:
  explicit WavFileSink(const std::string& path);

  void write(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void finish(int samplingRate) override;

 private:
  struct Close {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
  };

  void open(int samplingRate);
  [[noreturn]] void fail(const std::string& reason) const;

  std::string name;
  ReplacedFile file;
  std::unique_ptr<SNDFILE, Close> sound;  ///< null until the sampling rate is known
  int rate = 0;
  std::uint64_t samplesWritten = 0;
};

}  // namespace tool
