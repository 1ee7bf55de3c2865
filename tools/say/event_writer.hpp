#pragma once

#include <cstdint>
#include <kq/speech_callback.hpp>
#include <string>

#include "system/file_descriptor.hpp"

namespace tool {

class StandardOutput;

/// Writes the events of an utterance as they happen, one JSON object a line.
///
/// Every line has "event" ("start", "word", "mark", "end"), "sample" (samples since the beginning)
/// and "time" (the same in seconds). Offsets and lengths of text are bytes of the whole text. Every
/// function throws Failure if it cannot write.
class EventWriter {
 public:
  /// \param path  a file, emptied first, or "-" for standard output
  EventWriter(const std::string& path, const StandardOutput& standardOutput);

  /// The place of an event in the audio.
  struct Position {
    std::uint64_t sample;
    int samplingRate;  ///< in Hz, above 0
  };

  void start(Position position, std::uint64_t textOffset, const std::string& text);
  void word(Position position, std::uint64_t textOffset, const std::string& word);
  void mark(Position position, int number);
  void end(Position position, SpeechEnd end);

 private:
  template <typename Object>
  void write(Object object, Position position);

  FileDescriptor file;
  std::string name;
};

}  // namespace tool
