#include "text/markup_reader.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <utility>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using Kind = MarkupItem::Kind;
using Int = std::numeric_limits<int>;

/// What is longer is taken for text.
constexpr std::size_t longestTag = 256;
constexpr int longestPause = 600000;

/// A pause mark of a number of milliseconds has this number minus it.
constexpr int pauseMarkBase = 65536;
constexpr int longestMarkedPause = 32767;

struct NumberTag {
  std::string_view name;
  Kind kind;
  int lowest;
  int highest;
};

constexpr std::array<NumberTag, 5> numberTags{{{"pau", Kind::pause, 0, longestPause},
                                               {"vol", Kind::volume, 0, 100},
                                               {"rspd", Kind::speed, 50, 400},
                                               {"vct", Kind::pitch, 50, 200},
                                               {"mrk", Kind::mark, Int::min(), Int::max()}}};

// Those of <cctype> go by the locale.
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

/// What stands between the two backslashes of a tag.
struct Tag {
  std::string name;  ///< in lower case; empty if this is no tag
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

  /// Whether a backslash with text behind it looks like the tag's end but belongs to the next tag.
  bool runsIntoText() const { return name != "style" && spaceIn(value) < value.size(); }
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
  if (tag.name == "rst") {
    return {Kind::reset, 0, 0, 0};
  }
  const std::optional<int> number = tag.hasValue ? toNumber(tag.value) : std::nullopt;
  if (!number) {
    return {Kind::ignored, 0, 0, 0};
  }
  if (tag.name == "mrkpause") {
    return {Kind::mark, pauseMarkBase - std::clamp(*number, 1, longestMarkedPause), 0, 0};
  }
  for (const NumberTag& known : numberTags) {
    if (tag.name == known.name) {
      return {known.kind, std::clamp(*number, known.lowest, known.highest), 0, 0};
    }
  }
  return {Kind::ignored, 0, 0, 0};
}

/// The tag that `rest` begins with, with its length; the length is 0 if there is none.
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
  const bool isTag = tag.hasValue ? !tag.name.empty() : tag.name == "rst" || tag.name == "last";
  return {Kind::ignored, 0, 0, isTag && open < longestTag ? open + 1 : 0};
}

/// How much of `rest` is a piece of text. It has no tag at its begin.
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
