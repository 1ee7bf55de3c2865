#include "say/event_writer.hpp"

#include <cstring>
#include <nlohmann/json.hpp>

#include "system/failure.hpp"
#include "system/standard_output.hpp"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

const char* nameOf(SpeechEnd end) {
  switch (end) {
    case SpeechEnd::finished:
      return "finished";
    case SpeechEnd::stopped:
      return "stopped";
    case SpeechEnd::failed:
      break;
  }
  return "failed";
}

}  // namespace

EventWriter::EventWriter(const std::string& path, const StandardOutput& standardOutput)
    : file(path == "-" ? FileDescriptor::duplicateOf(standardOutput.descriptor())
                       : FileDescriptor::openForWriting(path)),
      name(path == "-" ? "standard output" : path) {}

void EventWriter::start(Position position, std::uint64_t textOffset, const std::string& text) {
  write(Json{{"event", "start"},
             {"textOffset", textOffset},
             {"textLength", text.size()},
             {"text", text},
             {"samplingRate", position.samplingRate}},
        position);
}

void EventWriter::word(Position position, std::uint64_t textOffset, const std::string& word) {
  write(Json{{"event", "word"},
             {"textOffset", textOffset},
             {"textLength", word.size()},
             {"text", word}},
        position);
}

void EventWriter::mark(Position position, int number) {
  write(Json{{"event", "mark"}, {"number", number}}, position);
}

void EventWriter::end(Position position, SpeechEnd end) {
  write(Json{{"event", "end"}, {"how", nameOf(end)}}, position);
}

template <typename Object>
void EventWriter::write(Object object, Position position) {
  object["sample"] = position.sample;
  object["time"] = static_cast<double>(position.sample) / position.samplingRate;
  const std::string line = object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  if (const int error = writeAll(file.get(), line.data(), line.size()); error != 0) {
    throw Failure("cannot write events to " + name + ": " + std::strerror(error),
                  "name another file with --events");
  }
}

}  // namespace tool
