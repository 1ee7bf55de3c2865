#include "text/utf8.hpp"

#include <algorithm>

namespace tool {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

unsigned byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

/// The well-formed sequences by their first two bytes, as the encoding's definition lists them.
struct SequenceForm {
  unsigned firstLow, firstHigh, secondLow, secondHigh;
  std::size_t length;
};
constexpr SequenceForm sequenceForms[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

bool isContinuation(unsigned byte) {
  return (byte & 0xC0U) == 0x80U;
}

bool isWhiteSpace(char byte) {
  return whiteSpace.find(byte) != std::string_view::npos;
}

/// The control characters of ASCII, DEL, and those of Latin-1 (U+0080 to U+009F).
bool isControl(std::string_view character) {
  const unsigned first = byteAt(character, 0);
  if (character.size() == 1) return first < 0x20U || first == 0x7FU;
  return first == 0xC2U && byteAt(character, 1) < 0xA0U;
}

}  // namespace

std::size_t characterLength(std::string_view text) {
  if (text.empty()) return 0;
  const unsigned first = byteAt(text, 0);
  if (first < 0x80U) return 1;
  for (const SequenceForm& form : sequenceForms) {
    if (first < form.firstLow || first > form.firstHigh) continue;
    if (text.size() < form.length) return 0;
    const unsigned second = byteAt(text, 1);
    if (second < form.secondLow || second > form.secondHigh) return 0;
    for (std::size_t i = 2; i < form.length; ++i) {
      if (!isContinuation(byteAt(text, i))) return 0;
    }
    return form.length;
  }
  return 0;
}

bool makeSpeakable(std::string& text) {
  bool allUtf8 = true;
  std::size_t at = 0;
  if (text.compare(0, byteOrderMark.size(), byteOrderMark) == 0) {
    text.replace(0, byteOrderMark.size(), byteOrderMark.size(), ' ');
  }
  while (at < text.size()) {
    const std::size_t length = characterLength(std::string_view(text).substr(at));
    if (length == 0) {
      text[at++] = ' ';
      allUtf8 = false;
      continue;
    }
    if (!isWhiteSpace(text[at]) && isControl(std::string_view(text).substr(at, length))) {
      text.replace(at, length, length, ' ');
    }
    at += length;
  }
  return !allUtf8;
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(whiteSpace) == std::string_view::npos;
}

std::string oneLine(std::string text) {
  makeSpeakable(text);
  std::replace_if(text.begin(), text.end(), isWhiteSpace, ' ');
  return text;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  while (count > 0 && end < text.size()) {
    end += std::max<std::size_t>(1, characterLength(text.substr(end)));
    --count;
  }
  return text.substr(0, end);
}

}  // namespace tool
