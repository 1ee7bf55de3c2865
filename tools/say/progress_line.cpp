#include "say/progress_line.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "system/standard_output.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

constexpr std::size_t usualWidth = 80;
constexpr std::size_t mostColumns = 80;  ///< a longer line is hard to read
const std::string clearLine = "\r\x1B[K";

void write(const std::string& text) {
  writeAll(STDERR_FILENO, text.data(), text.size());
}

std::size_t terminalWidth() {
  winsize size{};
  const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : usualWidth;
}

bool canOverwrite() {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && *terminal != '\0' && std::string(terminal) != "dumb";
}

/// The text, or its beginning and "…" if it is wider.
std::string fitted(const std::string& text, std::size_t columns) {
  const std::string_view whole = firstColumns(text, columns);
  return whole == text ? text : std::string(firstColumns(text, columns - 1)) + "…";
}

}  // namespace

ProgressLine::ProgressLine(std::uint64_t textBytes)
    : total(textBytes), onTerminal(isatty(STDERR_FILENO) == 1), overwrites(canOverwrite()) {}

ProgressLine::~ProgressLine() {
  if (onTerminal && overwrites && count > 0) {
    write(clearLine);
  }
}

void ProgressLine::show(const std::string& sentence, std::uint64_t offset) {
  if (!onTerminal) {
    return;
  }
  ++count;
  std::string line = std::to_string(count);
  if (total > 0) {
    line += " (" + std::to_string(std::min<std::uint64_t>(100, 100 * offset / total)) + " %)";
  }
  line = fitted(line + ": " + oneLine(sentence), std::min(terminalWidth() - 1, mostColumns));
  write(overwrites ? clearLine + line : line + '\n');
}

}  // namespace tool
