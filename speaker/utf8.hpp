#pragma once

#include <cstddef>
#include <string_view>

namespace KQ::speaking {

/// A character of UTF-8.
struct Character {
  char32_t point;      ///< U+FFFD for a byte that is no UTF-8
  std::size_t length;  ///< bytes; 1 for such a byte
};

/// The character that begins at a byte of a text.
Character characterAt(std::string_view text, std::size_t at);

/// How many bytes at the end of a text begin a character that is not complete.
std::size_t incompleteAtEnd(std::string_view text);

}  // namespace KQ::speaking
