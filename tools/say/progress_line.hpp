#pragma once

#include <cstdint>
#include <string>

namespace tool {

/// One line on a terminal that shows what is being spoken. Each sentence overwrites the one before;
/// on a terminal that cannot do that (TERM is "dumb" or not set) it has a line of its own. Nothing
/// is written when standard error is no terminal.
class ProgressLine {
 public:
  /// \param textBytes  the length of the whole text, or 0 if it is not known
  explicit ProgressLine(std::uint64_t textBytes);
  /// Leaves the line empty.
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// \param offset  where the sentence begins in the whole text
  void show(const std::string& sentence, std::uint64_t offset);

 private:
  std::uint64_t total;
  bool onTerminal;
  bool overwrites;
  int count = 0;
};

}  // namespace tool
