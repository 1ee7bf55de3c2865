#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace KQ::engines {

/// Returns the length in bytes of the character that a text begins with, or 0 if the text is empty
/// or begins with invalid UTF-8.
std::size_t utf8Length(std::string_view text);

/// Returns the code point of a valid character.
char32_t codePoint(std::string_view character);

/// Appends a code point as UTF-8.
void appendUtf8(std::string& text, char32_t point);

bool isValidUtf8(std::string_view text);

/// Whether a byte continues a character.
inline bool isUtf8Continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace KQ::engines
