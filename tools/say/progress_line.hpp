#pragma once

#include <string>

namespace tool {

/// One line on a terminal that says what is being spoken, written over and over; nothing when
/// standard error is no terminal.
class ProgressLine {
 public:
  ProgressLine();
  /// Leaves the line empty.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void show(const std::string& sentence);

 private:
  bool onTerminal;
  int count = 0;
};

}  // namespace tool
