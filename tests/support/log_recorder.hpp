#pragma once

#include <mutex>
#include <ostream>
#include <string>
#include <vector>
#include <zu/log.hpp>

namespace test {

/// The parts of a log record that tests check.
struct LogLine {
  zu::log::Level level;
  std::string category;
  std::string message;
  std::string file;
  std::string function;
  int line;
};

bool operator==(const LogLine& lhs, const LogLine& rhs);
std::ostream& operator<<(std::ostream& stream, const LogLine& line);

/// As long as it lives, enables all levels and collects every record.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  std::vector<LogLine> lines() const;
  /// The messages alone.
  std::vector<std::string> messages() const;

 private:
  mutable std::mutex mutex;
  std::vector<LogLine> collected;
  int handler;
};

}  // namespace test
