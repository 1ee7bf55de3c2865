#pragma once

#include <mutex>
#include <ostream>
#include <string>
#include <vector>
#include <zu/log.hpp>

namespace test {

/// What a test looks at in a log record.
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

/// Lets every record through and collects them for as long as it lives.
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
