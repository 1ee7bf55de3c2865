#include "text/utf8.hpp"

#include <utf8proc.h>

#include <algorithm>

namespace tool {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isWhiteSpace(char byte) {
  return whiteSpace.find(byte) != std::string_view::npos;
}

/// Decodes the character that a text begins with. \return its length, 0 if it is not UTF-8
std::size_t decode(std::string_view text, utf8proc_int32_t& character) {
  const auto size = static_cast<utf8proc_ssize_t>(std::min<std::size_t>(text.size(), 4));
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  return static_cast<std::size_t>(
      std::max<utf8proc_ssize_t>(0, utf8proc_iterate(bytes, size, &character)));
}

}  // namespace

std::size_t characterLength(std::string_view text) {
  utf8proc_int32_t character = 0;
  return decode(text, character);
}

bool makeSpeakable(std::string& text) {
  bool allUtf8 = true;
  std::size_t at = 0;
  if (text.compare(0, byteOrderMark.size(), byteOrderMark) == 0) {
    text.replace(0, byteOrderMark.size(), byteOrderMark.size(), ' ');
  }
  while (at < text.size()) {
    utf8proc_int32_t character = 0;
    const std::size_t length = decode(std::string_view(text).substr(at), character);
    if (length == 0) {
      text[at++] = ' ';
      allUtf8 = false;
      continue;
    }
    if (!isWhiteSpace(text[at]) && utf8proc_category(character) == UTF8PROC_CATEGORY_CC) {
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

std::string_view firstColumns(std::string_view text, std::size_t columns) {
  std::size_t end = 0;
  while (end < text.size()) {
    utf8proc_int32_t character = 0;
    const std::size_t length = decode(text.substr(end), character);
    const auto width = length == 0 ? 1U : static_cast<std::size_t>(utf8proc_charwidth(character));
    if (width > columns) {
      break;
    }
    columns -= width;
    end += std::max<std::size_t>(1, length);
  }
  return text.substr(0, end);
}

}  // namespace tool
