#include "support/word_reader.hpp"

#include <clocale>
#include <cwctype>
#include <memory>

#include "support/utf8.hpp"

namespace KQ::engines {

namespace {

bool isAscii(char byte) {
  return static_cast<unsigned char>(byte) < 0x80;
}

bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

bool isAsciiLetterOrDigit(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || isDigit(byte);
}

struct LocaleDeleter {
  using pointer = locale_t;
  void operator()(locale_t locale) const { ::freelocale(locale); }
};

/// The C library's locale of Unicode, whatever the process's own is. Null where it is missing.
locale_t unicode() {
  static const std::unique_ptr<locale_t, LocaleDeleter> locale(
      ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr));
  return locale.get();
}

bool isWordCharacter(char32_t point) {
  const bool isCombining = point >= 0x0300 && point <= 0x036F;
  return isCombining ||
         (unicode() != nullptr && ::iswalnum_l(static_cast<wint_t>(point), unicode()) != 0);
}

}  // namespace

/// The length of the character of a word that stands there, 0 for none.
std::size_t WordReader::wordCharacterAt(std::size_t place) const {
  if (place >= text.size()) {
    return 0;
  }
  if (isAscii(text[place])) {
    return isAsciiLetterOrDigit(text[place]) ? 1 : 0;
  }
  const std::size_t length = utf8Length(text.substr(place));
  return length > 0 && isWordCharacter(codePoint(text.substr(place, length))) ? length : 0;
}

/// The length of what joins two characters of a word, the first of which ends there; 0 for none.
std::size_t WordReader::joinerAt(std::size_t place) const {
  const std::string_view rest = text.substr(place);
  if (rest.size() > 1 && (rest.front() == '.' || rest.front() == ',')) {
    return isDigit(text[place - 1]) && isDigit(rest[1]) ? 1 : 0;
  }
  for (const std::string_view joiner : {"'", "-", "’"}) {
    if (rest.substr(0, joiner.size()) == joiner && wordCharacterAt(place + joiner.size()) > 0) {
      return joiner.size();
    }
  }
  return 0;
}

std::optional<std::string_view> WordReader::next() {
  while (position < text.size() && wordCharacterAt(position) == 0) {
    ++position;
  }
  if (position == text.size()) {
    return std::nullopt;
  }
  const std::size_t begin = position;
  while (const std::size_t length = wordCharacterAt(position)) {
    position += length;
    position += joinerAt(position);
  }
  return text.substr(begin, position - begin);
}

std::string toLowerCase(std::string_view word) {
  std::string lower;
  while (!word.empty()) {
    const std::size_t length = utf8Length(word);
    if (length <= 1 || unicode() == nullptr) {
      const char byte = word.front();
      lower += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
      word.remove_prefix(1);
      continue;
    }
    const auto point = static_cast<wint_t>(codePoint(word.substr(0, length)));
    appendUtf8(lower, static_cast<char32_t>(::towlower_l(point, unicode())));
    word.remove_prefix(length);
  }
  return lower;
}

}  // namespace KQ::engines
