#include "support/log_recorder.hpp"

#include <tuple>

namespace test {

namespace {

auto parts(const LogLine& line) {
  return std::tie(line.level, line.category, line.message, line.file, line.function, line.line);
}

}  // namespace

bool operator==(const LogLine& lhs, const LogLine& rhs) {
  return parts(lhs) == parts(rhs);
}

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
  return stream << "level " << static_cast<int>(line.level) << " \"" << line.category << "\" "
                << line.file << ':' << line.line << ' ' << line.function << "(): \"" << line.message
                << '"';
}

LogRecorder::LogRecorder() {
  zu::log::setLevel(zu::log::Level::debug);
  handler = zu::log::addHandler([this](const zu::log::Record& record) {
    const std::lock_guard<std::mutex> lock(mutex);
    collected.push_back(
        {record.level, record.category, record.message, record.file, record.function, record.line});
  });
}

LogRecorder::~LogRecorder() {
  zu::log::removeHandler(handler);
  zu::log::setLevel(zu::log::Level::info);
}

std::vector<LogLine> LogRecorder::lines() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return collected;
}

std::vector<std::string> LogRecorder::messages() const {
  std::vector<std::string> texts;
  for (const LogLine& line : lines()) {
    texts.push_back(line.message);
  }
  return texts;
}

}  // namespace test
