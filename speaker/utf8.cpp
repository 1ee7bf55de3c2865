#include "utf8.hpp"

#include <algorithm>

namespace KQ::speaking {

namespace {

constexpr char32_t noCharacter = 0xFFFD;

/// The length that a first byte asks for; 0 if it begins no character.
std::size_t lengthOf(unsigned char first) {
  if (first < 0x80U) {
    return 1;
  }
  if (first >= 0xC2U && first < 0xE0U) {
    return 2;
  }
  if (first >= 0xE0U && first < 0xF0U) {
    return 3;
  }
  return first >= 0xF0U && first < 0xF5U ? 4 : 0;
}

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace

Character characterAt(std::string_view text, std::size_t at) {
  const auto first = static_cast<unsigned char>(text[at]);
  const std::size_t length = lengthOf(first);
  if (length <= 1) {
    return {length == 1 ? first : noCharacter, 1};
  }
  if (at + length > text.size()) {
    return {noCharacter, 1};
  }
  char32_t point = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (!isContinuation(text[at + i])) {
      return {noCharacter, 1};
    }
    point = (point << 6U) | (static_cast<unsigned char>(text[at + i]) & 0x3FU);
  }
  const bool isTooShort = (length == 3 && point < 0x800U) || (length == 4 && point < 0x10000U);
  const bool isNone = point > 0x10FFFFU || (point >= 0xD800U && point < 0xE000U);
  return isTooShort || isNone ? Character{noCharacter, 1} : Character{point, length};
}

std::size_t incompleteAtEnd(std::string_view text) {
  for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
    const char byte = text[text.size() - back];
    if (!isContinuation(byte)) {
      return lengthOf(static_cast<unsigned char>(byte)) > back ? back : 0;
    }
  }
  return 0;
}

}  // namespace KQ::speaking
