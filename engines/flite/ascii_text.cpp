#include "flite/ascii_text.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

struct Replacement {
  char32_t character;
  const char* ascii;
};

/// Characters that Unicode does not decompose to ASCII.
constexpr std::array<Replacement, 30> replacements{
    {{U'Æ', "AE"}, {U'Ð', "D"},       {U'×', " times "},
     {U'Ø', "O"},  {U'Þ', "Th"},      {U'ß', "ss"},
     {U'æ', "ae"}, {U'ð', "d"},       {U'÷', " divided by "},
     {U'ø', "o"},  {U'þ', "th"},      {U'Đ', "D"},
     {U'đ', "d"},  {U'ı', "i"},       {U'Ł', "L"},
     {U'ł', "l"},  {U'Œ', "OE"},      {U'œ', "oe"},
     {U'‐', "-"},  {U'‑', "-"},       {U'–', "-"},
     {U'—', ", "}, {U'‘', "'"},       {U'’', "'"},
     {U'‚', "'"},  {U'“', "\""},      {U'”', "\""},
     {U'„', "\""}, {U'€', " euros "}, {U'£', " pounds "}}};

std::string asciiByte(char byte) {
  const bool isMarkup = byte == '\\' || byte == '<' || byte == '>';
  return (byte > ' ' && byte < 0x7F && !isMarkup) || byte == '\n' ? std::string(1, byte) : " ";
}

std::string decomposed(char32_t character) {
  std::array<utf8proc_int32_t, 32> parts{};
  int lastClass = 0;
  const utf8proc_ssize_t count =
      utf8proc_decompose_char(static_cast<utf8proc_int32_t>(character), parts.data(), parts.size(),
                              static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_COMPAT |
                                                             UTF8PROC_IGNORE | UTF8PROC_STRIPMARK),
                              &lastClass);
  if (count < 0 || static_cast<std::size_t>(count) > parts.size()) {
    return " ";
  }
  std::string ascii;
  for (const utf8proc_int32_t* part = parts.data(); part != parts.data() + count; ++part) {
    if (*part >= 0x80) {
      return " ";
    }
    ascii += asciiByte(static_cast<char>(*part));
  }
  return ascii;
}

}  // namespace

std::string toAscii(std::string_view character) {
  if (utf8Length(character) == 0) {
    return " ";
  }
  if (character.size() == 1) {
    return asciiByte(character.front());
  }
  const char32_t point = codePoint(character);
  const auto* const known =
      std::find_if(replacements.begin(), replacements.end(),
                   [&](const Replacement& replacement) { return replacement.character == point; });
  return known == replacements.end() ? decomposed(point) : known->ascii;
}

}  // namespace KQ::engines
