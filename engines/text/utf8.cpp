#include "text/utf8.hpp"

#include <utf8proc.h>

#include <array>

namespace KQ::engines {

namespace {

/// A character, decoded.
struct Decoded {
  utf8proc_int32_t point = 0;
  utf8proc_ssize_t length = 0;  ///< in bytes; not positive if this is no valid character
};

Decoded decode(std::string_view text) {
  Decoded character;
  character.length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                      static_cast<utf8proc_ssize_t>(text.size()), &character.point);
  return character;
}

}  // namespace

std::size_t utf8Length(std::string_view text) {
  if (text.empty() || static_cast<unsigned char>(text.front()) < 0x80) {
    return text.empty() ? 0 : 1;
  }
  const Decoded character = decode(text);
  return character.length > 0 ? static_cast<std::size_t>(character.length) : 0;
}

char32_t codePoint(std::string_view character) {
  return static_cast<char32_t>(decode(character).point);
}

void appendUtf8(std::string& text, char32_t point) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const utf8proc_ssize_t length =
      utf8proc_encode_char(static_cast<utf8proc_int32_t>(point), bytes.data());
  text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
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
