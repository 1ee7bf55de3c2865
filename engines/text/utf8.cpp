#include "text/utf8.hpp"

#include <algorithm>

namespace KQ::engines {

namespace {

/// The length that a first byte announces; 0 for one that begins no character.
std::size_t announcedLength(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first < 0xC2) {
    return 0;
  }
  if (first < 0xE0) {
    return 2;
  }
  return first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
}

/// Whether the second byte rules out what its length alone does not: overlong forms, surrogates and
/// what lies beyond U+10FFFF.
bool isPlausible(unsigned char first, unsigned char second) {
  switch (first) {
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second < 0xA0;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second < 0x90;
    default:
      return true;
  }
}

}  // namespace

std::size_t utf8Length(std::string_view text) {
  if (text.empty()) {
    return 0;
  }
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t length = announcedLength(first);
  if (length <= 1) {
    return length;
  }
  const std::string_view rest = text.substr(1, length - 1);
  const bool complete = rest.size() == length - 1 &&
                        std::all_of(rest.begin(), rest.end(), isUtf8Continuation) &&
                        isPlausible(first, static_cast<unsigned char>(rest.front()));
  return complete ? length : 0;
}

char32_t codePoint(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) {
    return first;
  }
  char32_t point = first & (0xFFU >> (character.size() + 1));
  for (const char byte : character.substr(1)) {
    point = point << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  return point;
}

void appendUtf8(std::string& text, char32_t point) {
  const auto add = [&](char32_t bits) { text += static_cast<char>(bits); };
  if (point < 0x80) {
    add(point);
    return;
  }
  if (point < 0x800) {
    add(0xC0U | point >> 6U);
  } else {
    if (point < 0x10000) {
      add(0xE0U | point >> 12U);
    } else {
      add(0xF0U | point >> 18U);
      add(0x80U | (point >> 12U & 0x3FU));
    }
    add(0x80U | (point >> 6U & 0x3FU));
  }
  add(0x80U | (point & 0x3FU));
}

bool isValidUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace KQ::engines
