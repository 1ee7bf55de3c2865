#pragma once

#include <string>
#include <vector>

/// As long as it lives, redirects the process's standard error into a file.
class CapturedStderr {
 public:
  CapturedStderr();
  ~CapturedStderr();
  CapturedStderr(const CapturedStderr&) = delete;
  CapturedStderr& operator=(const CapturedStderr&) = delete;

  /// Everything written so far.
  std::string text() const;
  /// The same as lines. Text after the last line feed counts as a line.
  std::vector<std::string> lines() const;

 private:
  int file;
  int original;
};
