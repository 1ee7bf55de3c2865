#include "text/paragraph.hpp"

#include <sstream>

#include "text/utf8.hpp"

namespace tool {

std::string paragraph(const std::string& label, const std::string& text) {
  constexpr std::size_t width = 100;
  std::istringstream words(oneLine(text));
  std::string lines;
  std::string line = label;
  bool isEmpty = true;
  for (std::string word; words >> word;) {
    if (!isEmpty && line.size() + 1 + word.size() > width) {
      lines += line + '\n';
      line.assign(label.size(), ' ');
      isEmpty = true;
    }
    if (!isEmpty) {
      line += ' ';
    }
    line += word;
    isEmpty = false;
  }
  return lines + line + '\n';
}

}  // namespace tool
