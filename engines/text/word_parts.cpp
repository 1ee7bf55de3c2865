#include "text/word_parts.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

/// The scripts without blanks between words.
constexpr std::array<Range, 13> scriptsWithoutBlanks{{{0x0E00, 0x0EFF},      // Thai, Lao
                                                      {0x1000, 0x109F},      // Burmese
                                                      {0x1780, 0x17FF},      // Khmer
                                                      {0x3000, 0x312F},      // kana, Bopomofo
                                                      {0x31A0, 0x31FF},      // more of them
                                                      {0x3400, 0x9FFF},      // Han
                                                      {0xA9E0, 0xA9FF},      // Burmese
                                                      {0xAA60, 0xAA7F},      // Burmese
                                                      {0xF900, 0xFAFF},      // Han
                                                      {0xFF66, 0xFF9F},      // katakana, half width
                                                      {0x16FE0, 0x16FFF},    // marks of Han
                                                      {0x1AFF0, 0x1B16F},    // kana
                                                      {0x20000, 0x3FFFF}}};  // Han

constexpr std::array<Range, 3> katakana{{{0x30A0, 0x30FF}, {0x31F0, 0x31FF}, {0xFF66, 0xFF9F}}};

/// Letters that belong to the consonant before them: Thai and Lao vowels.
constexpr std::array<Range, 4> vowelsAfter{
    {{0x0E30, 0x0E33}, {0x0E45, 0x0E45}, {0x0EB0, 0x0EB0}, {0x0EB2, 0x0EB3}}};

/// Characters that belong to the consonant after them: Thai and Lao vowels, and the signs that put
/// a Burmese or Khmer consonant below another.
constexpr std::array<Range, 4> signsBefore{
    {{0x0E40, 0x0E44}, {0x0EC0, 0x0EC4}, {0x1039, 0x1039}, {0x17D2, 0x17D2}}};

template <std::size_t count>
bool isIn(const std::array<Range, count>& ranges, char32_t point) {
  return std::any_of(ranges.begin(), ranges.end(), [point](const Range& range) {
    return point >= range.first && point <= range.last;
  });
}

bool isDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

bool isAsciiLetterOrDigit(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || isDigit(byte);
}

/// A character of a word, or a separator of words.
struct Character {
  std::size_t length = 0;  ///< in bytes; 0 for a separator
  char32_t point = 0;

  bool isOfWord() const { return length > 0; }

  bool needsNoBlanks() const { return point >= 0x0E00 && isIn(scriptsWithoutBlanks, point); }

  /// Whether a part may end between the two.
  bool isApartFrom(const Character& next) const {
    if (!needsNoBlanks() && !next.needsNoBlanks()) {
      return false;
    }
    const bool isOneSyllable =
        next.belongsToTheOneBefore() || isIn(vowelsAfter, next.point) || isIn(signsBefore, point);
    return !isOneSyllable && !(isIn(katakana, point) && isIn(katakana, next.point));
  }

 private:
  bool belongsToTheOneBefore() const {
    switch (utf8proc_category(static_cast<utf8proc_int32_t>(point))) {
      case UTF8PROC_CATEGORY_LM:
      case UTF8PROC_CATEGORY_MN:
      case UTF8PROC_CATEGORY_MC:
      case UTF8PROC_CATEGORY_ME:
        return true;
      default:
        return false;
    }
  }
};

bool isOfWord(char32_t point) {
  switch (utf8proc_category(static_cast<utf8proc_int32_t>(point))) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_MC:
    case UTF8PROC_CATEGORY_ME:
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
    case UTF8PROC_CATEGORY_NO:
      return true;
    default:
      return false;
  }
}

Character wordCharacterAt(std::string_view text, std::size_t place) {
  if (place >= text.size()) {
    return {};
  }
  const char first = text[place];
  if (static_cast<unsigned char>(first) < 0x80) {
    return isAsciiLetterOrDigit(first) ? Character{1, static_cast<unsigned char>(first)}
                                       : Character();
  }
  const std::size_t length = utf8Length(text.substr(place));
  if (length == 0) {
    return {};
  }
  const char32_t point = codePoint(text.substr(place, length));
  return isOfWord(point) ? Character{length, point} : Character();
}

/// The character that ends at a place.
Character wordCharacterBefore(std::string_view text, std::size_t place) {
  constexpr std::size_t longestCharacter = 4;
  if (place == 0) {
    return {};
  }
  std::size_t begin = place - 1;
  while (begin > 0 && place - begin < longestCharacter && isUtf8Continuation(text[begin])) {
    --begin;
  }
  const Character character = wordCharacterAt(text, begin);
  return character.length == place - begin ? character : Character();
}

constexpr std::array<std::string_view, 5> joiners{"'", "-", "’", "\u200C", "\u200D"};

/// Whether a character that is not part of a word joins its neighbours to one word.
bool isJoined(const Character& before, std::string_view joiner, const Character& after) {
  if (!before.isOfWord() || !after.isOfWord() || before.needsNoBlanks() || after.needsNoBlanks()) {
    return false;
  }
  if (joiner == "." || joiner == ",") {
    return before.point >= '0' && before.point <= '9' && after.point >= '0' && after.point <= '9';
  }
  return std::find(joiners.begin(), joiners.end(), joiner) != joiners.end();
}

}  // namespace

bool WordParts::beginsAt(std::size_t place) const {
  const Character first = wordCharacterAt(text, place);
  if (!first.isOfWord() || place == 0) {
    return first.isOfWord();
  }
  const Character before = wordCharacterBefore(text, place);
  if (before.isOfWord()) {
    return before.isApartFrom(first);
  }
  const std::size_t length = isUtf8Continuation(text[place - 1]) && place >= 3 ? 3 : 1;
  return !isJoined(wordCharacterBefore(text, place - length), text.substr(place - length, length),
                   first);
}

std::size_t WordParts::lengthAt(std::size_t place, std::size_t longest) const {
  Character last = wordCharacterAt(text, place);
  std::size_t end = place + last.length;
  while (end - place <= longest) {
    Character next = wordCharacterAt(text, end);
    if (next.isOfWord()) {
      if (last.isApartFrom(next)) {
        return end - place;
      }
    } else {
      const std::size_t length = end < text.size() && utf8Length(text.substr(end)) == 3 ? 3 : 1;
      next = wordCharacterAt(text, end + length);
      if (end >= text.size() || !isJoined(last, text.substr(end, length), next)) {
        return end - place;
      }
      end += length;
    }
    end += next.length;
    last = next;
  }
  return 0;
}

bool joinWords(std::string_view before, std::string_view after) {
  const Character last = wordCharacterBefore(before, before.size());
  const Character first = wordCharacterAt(after, 0);
  return last.isOfWord() && first.isOfWord() && !last.isApartFrom(first);
}

std::string toLowerCase(std::string_view word) {
  std::string lower;
  while (!word.empty()) {
    const std::size_t length = utf8Length(word);
    if (length <= 1) {
      const char byte = word.front();
      lower += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
      word.remove_prefix(1);
      continue;
    }
    const auto point = static_cast<utf8proc_int32_t>(codePoint(word.substr(0, length)));
    appendUtf8(lower, static_cast<char32_t>(utf8proc_tolower(point)));
    word.remove_prefix(length);
  }
  return lower;
}

}  // namespace KQ::engines
