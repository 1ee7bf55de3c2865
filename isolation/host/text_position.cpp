#include "isolation/host/text_position.hpp"

#include <algorithm>
#include <array>

namespace KQ::isolation {

namespace {

constexpr std::size_t longestSentence = 4096;
constexpr std::size_t longestTag = 256;
constexpr std::size_t mostTags = 64;

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view closers = "\"')]}>";

/// Ends of sentences in scripts that put no blank after them: 。！？
constexpr std::array<std::string_view, 3> wideStops{"\xE3\x80\x82", "\xEF\xBC\x81", "\xEF\xBC\x9F"};

/// What stands between words in these scripts: 、，；：」』）
constexpr std::array<std::string_view, 7> widePunctuation{
    "\xE3\x80\x81", "\xEF\xBC\x8C", "\xEF\xBC\x9B", "\xEF\xBC\x9A",
    "\xE3\x80\x8D", "\xE3\x80\x8F", "\xEF\xBC\x89"};

bool isOneOf(char character, std::string_view set) {
  return set.find(character) != std::string_view::npos;
}

template <typename Set>
bool startsWithOneOf(std::string_view text, const Set& set) {
  return std::any_of(set.begin(), set.end(),
                     [&](std::string_view one) { return text.substr(0, one.size()) == one; });
}

std::size_t skip(std::string_view text, std::size_t position, std::string_view set) {
  return std::min(text.find_first_not_of(set, position), text.size());
}

bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Whether a sentence ends with this byte; if so, where its closing quotation marks end.
bool endsSentence(std::string_view text, std::size_t& position) {
  if (startsWithOneOf(text.substr(position), wideStops)) {
    position += wideStops.front().size();
    return true;
  }
  if (text[position] == '\n' && position + 1 < text.size() && text[position + 1] == '\n') {
    return true;
  }
  if (!isOneOf(text[position], ".!?")) {
    return false;
  }
  const std::size_t end = skip(text, skip(text, position, ".!?"), closers);
  if (end < text.size() && !isOneOf(text[end], blanks)) {
    return false;
  }
  position = end;
  return true;
}

std::string lowerCase(std::string_view name) {
  std::string lower(name);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return lower;
}

}  // namespace

std::size_t sentenceEnd(std::string_view text, std::size_t position) {
  const std::size_t last = std::min(text.size(), position + longestSentence);
  for (std::size_t end = position; end < last; ++end) {
    if (endsSentence(text, end)) {
      return skip(text, end, blanks);
    }
  }
  if (last == text.size()) {
    return last;
  }
  const std::size_t blank = text.find_last_of(blanks, last);
  if (blank != std::string_view::npos && blank > position) {
    return blank + 1;
  }
  std::size_t end = last;
  while (end < text.size() && isContinuation(text[end])) {
    ++end;
  }
  return end;
}

std::size_t skipBetweenWords(std::string_view text, std::size_t position) {
  while (position < text.size()) {
    const std::string_view rest = text.substr(position);
    const bool isFullStop =
        rest[0] == '.' && (rest.size() == 1 || isOneOf(rest[1], blanks) || rest[1] == '.');
    if (isOneOf(rest[0], blanks) || isOneOf(rest[0], closers) || isOneOf(rest[0], ",;:!?") ||
        isFullStop) {
      ++position;
    } else if (startsWithOneOf(rest, wideStops) || startsWithOneOf(rest, widePunctuation)) {
      position += wideStops.front().size();
    } else {
      break;
    }
  }
  return position;
}

void TagState::readUpTo(std::string_view text, std::size_t end) {
  while (position < end) {
    const std::size_t open = text.find('\\', position);
    if (open == std::string_view::npos || open >= end) {
      position = end;
      return;
    }
    const std::size_t close =
        text.substr(0, std::min(text.size(), open + longestTag)).find('\\', open + 1);
    if (close == std::string_view::npos) {
      position = open + 1;
    } else {
      read(text.substr(open, close + 1 - open));
      position = close + 1;
    }
  }
}

void TagState::read(std::string_view tag) {
  const std::string_view content = tag.substr(1, tag.size() - 2);
  const std::size_t equals = content.find('=');
  const std::string name = lowerCase(content.substr(0, equals));
  if (name == "rst") {
    tags.clear();
  } else if (equals != std::string_view::npos && name != "mrk" && name != "mrkpause" &&
             name != "pau" && (tags.size() < mostTags || tags.count(name) != 0)) {
    tags[name] = tag;
  }
}

std::string TagState::prefix() const {
  std::string all;
  for (const auto& [name, tag] : tags) {
    all += tag;
  }
  return all;
}

}  // namespace KQ::isolation
