#include "printable.hpp"

#include <algorithm>
#include <array>

namespace zu::log {

namespace {

// A row of Unicode's table of well-formed UTF-8: lead bytes, the range of the second byte, and the
// length of the sequence. All later bytes are 80..BF.
struct Utf8Form {
  unsigned char firstLead, lastLead, firstNext, lastNext;
  std::size_t length;
};

constexpr std::array<Utf8Form, 9> utf8Forms{{
    {0xC2, 0xC2, 0xA0, 0xBF, 2},  // 80..9F would be the C1 control characters
    {0xC3, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

bool isBetween(char character, unsigned char first, unsigned char last) {
  const auto byte = static_cast<unsigned char>(character);
  return first <= byte && byte <= last;
}

// The length in bytes of the printable character at the begin of the text, or 0 if there is none.
std::size_t printableLength(std::string_view text) {
  if (isBetween(text[0], 0x20, 0x7E)) {
    return 1;
  }
  const auto form =
      std::find_if(utf8Forms.begin(), utf8Forms.end(), [&text](const Utf8Form& candidate) {
        return isBetween(text[0], candidate.firstLead, candidate.lastLead);
      });
  if (form == utf8Forms.end() || text.size() < form->length ||
      !isBetween(text[1], form->firstNext, form->lastNext)) {
    return 0;
  }
  const std::string_view rest = text.substr(2, form->length - 2);
  return std::all_of(rest.begin(), rest.end(), [](char c) { return isBetween(c, 0x80, 0xBF); })
             ? form->length
             : 0;
}

void appendEscaped(std::string& target, char character) {
  static constexpr char digits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  switch (character) {
    case '\n':
      target += "\\n";
      break;
    case '\t':
      target += "\\t";
      break;
    default:
      target += "\\x";
      target += digits[byte >> 4];
      target += digits[byte & 0xF];
  }
}

}  // namespace

void appendPrintable(std::string& target, std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = printableLength(text);
    if (length == 0) {
      appendEscaped(target, text.front());
    }
    target.append(text.substr(0, length));
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

}  // namespace zu::log
