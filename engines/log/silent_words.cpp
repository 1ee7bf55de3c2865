#include "log/silent_words.hpp"

#include <algorithm>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using std::chrono::microseconds;

constexpr microseconds timeOfLetter{66667};
constexpr microseconds timeOfSyllable{250000};

/// The longest word, in bytes; a longer one counts as several.
constexpr std::size_t longestWord = 400;

constexpr std::string_view punctuation = "\"'`.,:;!?(){}[]<>";

/// A character, and what it counts as.
struct Character {
  std::size_t length;
  bool isBlank;
  bool isSyllable;
};

Character characterAt(std::string_view text) {
  const std::size_t length = utf8Length(text);
  const auto byte = static_cast<unsigned char>(text.front());
  if (length <= 1) {
    return {1, length == 0 || byte <= ' ' || byte == 0x7F, false};
  }
  const char32_t point = codePoint(text.substr(0, length));
  return {length, false,
          (point >= 0x1100 && point <= 0x11FF) || (point >= 0x2E80 && point <= 0xD7FF) ||
              (point >= 0x20000 && point <= 0x3FFFF)};
}

}  // namespace

std::optional<SilentItem> SilentWords::next() {
  while (position == end) {
    const std::optional<MarkupItem> item = source.next();
    if (!item) {
      return std::nullopt;
    }
    if (item->kind != MarkupItem::Kind::text) {
      SilentItem tag;
      tag.tag = *item;
      return tag;
    }
    position = item->offset;
    end = item->offset + item->length;
  }
  return readWord();
}

/// Reads a word and the white space after it. The word is empty if the text begins with white
/// space.
SilentItem SilentWords::readWord() {
  SilentItem item;
  source.release(position);
  const std::size_t begin = position;
  std::size_t wordEnd = begin;
  bool isAfterWord = false;
  while (position - begin < longestWord && hasMore()) {
    const Character character = characterAt(source.view(position, end - position));
    if (isAfterWord && !character.isBlank) {
      break;
    }
    isAfterWord = character.isBlank;
    item.time += character.isSyllable ? timeOfSyllable : timeOfLetter;
    position += character.length;
    wordEnd = isAfterWord ? wordEnd : position;
  }
  const std::string_view word = source.view(begin, wordEnd - begin);
  const std::size_t first = word.find_first_not_of(punctuation);
  if (first == std::string_view::npos) {
    // White space before the first word takes no time.
    item.time = word.empty() ? microseconds(0) : item.time;
    return item;
  }
  item.offset = begin + first;
  item.length = word.find_last_not_of(punctuation) + 1 - first;
  return item;
}

/// Whether there is more text at the position. May read the next piece.
bool SilentWords::hasMore() {
  if (position == end && source.textGoesOn()) {
    end += source.next().value().length;
  }
  return position < end;
}

}  // namespace KQ::engines
