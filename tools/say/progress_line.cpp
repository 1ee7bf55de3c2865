#include "say/progress_line.hpp"

#include <unistd.h>

#include "system/standard_output.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

constexpr std::size_t shownCharacters = 60;
const std::string clearLine = "\r\x1B[K";

void write(const std::string& text) {
  writeAll(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

ProgressLine::ProgressLine() : onTerminal(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
  if (onTerminal && count > 0) {
    write(clearLine);
  }
}

void ProgressLine::show(const std::string& sentence) {
  if (!onTerminal) {
    return;
  }
  const std::string line = oneLine(sentence);
  const std::string shown(firstCharacters(line, shownCharacters));
  ++count;
  write(clearLine + std::to_string(count) + ": " + shown + (shown == line ? "" : "…"));
}

}  // namespace tool
