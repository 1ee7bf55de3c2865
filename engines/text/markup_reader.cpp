#include "text/markup_reader.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <utility>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using Kind = MarkupItem::Kind;
using Int = std::numeric_limits<int>;

/// The longest tag, in bytes; a longer one is text.
constexpr std::size_t longestTag = 256;

/// A pause mark of N milliseconds has this number minus N.
constexpr int pauseMarkBase = 65536;
constexpr int longestMarkedPause = 32767;
constexpr std::string_view pauseMarkName = "mrkpause";

/// What follows the name of a tag.
enum class Form { none, number, words };

struct TagRow {
  std::string_view name;
  Kind kind;
  Form form;
  int lowest;
  int highest;
};

constexpr TagRow tagRows[] = {
#define KQTTS_INLINE_TAG(kind, name, form, lowest, highest) \
  {name, Kind::kind, Form::form, lowest, highest},
#include "text/inline_tags.inc"
#undef KQTTS_INLINE_TAG
};

/// The row of a tag, or null for an unknown one.
const TagRow* rowOf(std::string_view name) {
  const auto* const row = std::find_if(std::begin(tagRows), std::end(tagRows),
                                       [&](const TagRow& known) { return known.name == name; });
  return row == std::end(tagRows) ? nullptr : row;
}

// The functions of <cctype> depend on the locale.
bool isLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string toLower(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return lower;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && isSpace(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

std::size_t spaceIn(std::string_view text) {
  return static_cast<std::size_t>(std::find_if(text.begin(), text.end(), isSpace) - text.begin());
}

/// The text between the two backslashes of a tag.
struct Tag {
  std::string name;  ///< in lower case; empty if the text is not a tag
  std::string_view value;
  bool hasValue = false;

  explicit Tag(std::string_view inner) {
    const std::size_t nameLength = static_cast<std::size_t>(
        std::find_if_not(inner.begin(), inner.end(), isLetterOrDigit) - inner.begin());
    hasValue = nameLength < inner.size() && inner[nameLength] == '=';
    if (hasValue || nameLength == inner.size()) {
      name = toLower(inner.substr(0, nameLength));
    }
    if (hasValue) {
      value = trim(inner.substr(nameLength + 1));
    }
  }

  Form form() const {
    const TagRow* const row = rowOf(name);
    return row == nullptr ? Form::number : row->form;
  }

  /// Whether the backslash after the value begins the next tag instead of closing this one: there
  /// is white space before it, which only words may hold.
  bool runsIntoText() const { return spaceIn(value) < value.size() && form() != Form::words; }
};

std::optional<int> toNumber(std::string_view value) {
  if (!value.empty() && value.front() == '+') {
    value.remove_prefix(1);
  }
  int number = 0;
  const auto parsed = std::from_chars(value.data(), value.data() + value.size(), number);
  if (parsed.ec == std::errc::invalid_argument) {
    return std::nullopt;
  }
  if (parsed.ec == std::errc::result_out_of_range) {
    return value.front() == '-' ? Int::min() : Int::max();
  }
  return number;
}

MarkupItem toItem(const Tag& tag) {
  const TagRow* const row = rowOf(tag.name);
  if (row != nullptr && row->form != Form::number) {
    return {row->kind, 0, 0, 0};
  }
  const std::optional<int> number = tag.hasValue ? toNumber(tag.value) : std::nullopt;
  if (number && tag.name == pauseMarkName) {
    return {Kind::mark, pauseMarkBase - std::clamp(*number, 1, longestMarkedPause), 0, 0};
  }
  if (number && row != nullptr) {
    return {row->kind, std::clamp(*number, row->lowest, row->highest), 0, 0};
  }
  return {Kind::ignored, 0, 0, 0};
}

/// Returns the tag that `rest` begins with and its length; the length is 0 if there is no tag.
MarkupItem readTag(std::string_view rest) {
  std::string_view inner = rest.substr(1, longestTag);
  const std::size_t close = inner.find('\\');
  inner = inner.substr(0, close);
  if (close != std::string_view::npos) {
    const Tag tag(inner);
    if (!tag.name.empty() && !tag.runsIntoText()) {
      MarkupItem item = toItem(tag);
      item.length = close + 2;
      return item;
    }
  }
  const std::size_t open = spaceIn(inner);
  const Tag tag(inner.substr(0, open));
  const bool isTag = !tag.name.empty() && (tag.hasValue || tag.form() == Form::none);
  return {Kind::ignored, 0, 0, isTag && open < longestTag ? open + 1 : 0};
}

/// Returns the length of the next piece of text. `rest` does not begin with a tag.
std::size_t textLength(std::string_view rest) {
  const std::string_view piece = rest.substr(0, MarkupReader::longestText);
  const std::size_t tag = piece.find('\\', 1);
  if (tag != std::string_view::npos || piece.size() == rest.size()) {
    return std::min(tag, piece.size());
  }
  const auto space = std::find_if(piece.rbegin(), piece.rend(), isSpace);
  if (space != piece.rend()) {
    return static_cast<std::size_t>(piece.rend() - space);
  }
  constexpr std::size_t longestCharacter = 4;
  std::size_t length = piece.size();
  while (length > piece.size() - longestCharacter && isUtf8Continuation(rest[length])) {
    --length;
  }
  return length;
}

}  // namespace

std::optional<MarkupItem> MarkupReader::next() {
  if (waiting) {
    return std::exchange(waiting, std::nullopt);
  }
  if (position == text.size()) {
    return std::nullopt;
  }
  MarkupItem item;
  if (text[position] == '\\') {
    item = readTag(text.substr(position));
  }
  if (item.length == 0) {
    item = {Kind::text, 0, 0, textLength(text.substr(position))};
  }
  isInText = item.kind == Kind::text;
  item.offset = position;
  position += item.length;
  if (item.kind == Kind::mark && item.value < pauseMarkBase &&
      item.value >= pauseMarkBase - longestMarkedPause) {
    waiting = MarkupItem{Kind::pause, pauseMarkBase - item.value, position, 0};
  }
  return item;
}

}  // namespace KQ::engines
