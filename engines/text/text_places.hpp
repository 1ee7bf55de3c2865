#pragma once

#include <cstddef>
#include <string_view>

#include "text/utf8.hpp"

namespace KQ::engines {

/// A character of a text.
struct TextCharacter {
  char32_t point = 0;      ///< 0 for none, and for bytes that are no UTF-8
  std::size_t length = 0;  ///< in bytes; 0 only beyond the text
};

/// The character that begins at a place.
TextCharacter characterAt(std::string_view text, std::size_t place);

/// The character that ends at a place.
TextCharacter characterBefore(std::string_view text, std::size_t place);

inline bool isDigit(char32_t point) {
  return point >= '0' && point <= '9';
}

inline bool isBlank(char32_t point) {
  return point == ' ' || (point >= '\t' && point <= '\r') || point == 0xA0 || point == 0x202F ||
         point == 0x3000;
}

/// Whether it is a letter or a numeral of any script.
bool isAlphanumeric(char32_t point);

}  // namespace KQ::engines
