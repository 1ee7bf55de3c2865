#pragma once

#include <string>
#include <vector>

/// While it lives, all that the process writes to standard error goes into a file of its own.
class CapturedStderr {
 public:
  CapturedStderr();
  ~CapturedStderr();
  CapturedStderr(const CapturedStderr&) = delete;
  CapturedStderr& operator=(const CapturedStderr&) = delete;

  /// What was written up to now.
  std::string text() const;
  /// The same, split at line feeds; a text after the last of them counts as a line.
  std::vector<std::string> lines() const;

 private:
  int file;
  int original;
};
