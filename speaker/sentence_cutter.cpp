#include "sentence_cutter.hpp"

#include <algorithm>
#include <array>
#include <cctype>

#include "sentences/sentence_splitter.hpp"

namespace KQ::speaking {

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

/// Most sentences end within this, so that a long text need not be looked at as a whole.
constexpr std::size_t usualLength = 512;
constexpr std::size_t longestSentence = 8192;

/// What ends a clause: marks of the scripts of the language table, and a line's end. After those of
/// ASCII white space has to follow, since "3,5" and "10:30" go on.
constexpr std::array<std::string_view, 5> asciiMarks = {",", ";", ":", ".", "\u2013"};
constexpr std::array<std::string_view, 10> otherMarks = {
    "\n", "!", "?", "\u3001", "\u3002", "\uff0c", "\uff1b", "\uff1a", "\u060c", "\u061b"};

std::size_t withWhiteSpace(std::string_view text, std::size_t end) {
  return std::min(text.find_first_not_of(whiteSpace, end), text.size());
}

/// A place at or before `limit` where a text may be cut: after a blank, else before a character.
std::size_t placeToCut(std::string_view text, std::size_t limit) {
  const std::size_t blank = text.find_last_of(whiteSpace, limit - 1);
  if (blank != std::string_view::npos && blank > 0) {
    return blank + 1;
  }
  std::size_t place = limit;
  while (place > 1 && (static_cast<unsigned char>(text[place]) & 0xC0U) == 0x80U) {
    --place;
  }
  return place;
}

std::size_t endAfter(std::string_view text, std::string_view mark, bool needsBlank) {
  for (std::size_t at = text.rfind(mark); at != std::string_view::npos && at > 0;
       at = text.rfind(mark, at - 1)) {
    const std::size_t end = at + mark.size();
    if (!needsBlank ||
        (end < text.size() && whiteSpace.find(text[end]) != std::string_view::npos)) {
      return withWhiteSpace(text, end);
    }
  }
  return 0;
}

/// Whether the text ends with a mark that needs a blank after it, but not within a number.
bool endsWithMark(std::string_view text) {
  return text.size() > 1 && std::string_view(",;:.").find(text.back()) != std::string_view::npos &&
         std::isdigit(static_cast<unsigned char>(text[text.size() - 2])) == 0;
}

}  // namespace

SentenceCutter::SentenceCutter() = default;
SentenceCutter::~SentenceCutter() = default;

sentences::SentenceSplitter& SentenceCutter::splitterOf(const std::string& locale) {
  std::unique_ptr<sentences::SentenceSplitter>& splitter = splitters[locale];
  if (!splitter) {
    splitter = std::make_unique<sentences::SentenceSplitter>(locale);
  }
  return *splitter;
}

std::size_t SentenceCutter::sentence(std::string_view text, const std::string& locale,
                                     bool isWhole) {
  const sentences::SentenceSplitter& splitter = splitterOf(locale);
  for (std::size_t window = usualLength;; window *= 4) {
    const std::string_view looked = text.substr(0, window);
    const std::size_t end = splitter.firstEnd(looked);
    if (end > 0) {
      return withWhiteSpace(text, end);
    }
    if (looked.size() == text.size()) {
      break;
    }
    if (window >= longestSentence) {
      return placeToCut(text, longestSentence);
    }
  }
  if (!isWhole) {
    return 0;
  }
  const auto ends = splitter.ends(text);
  return ends.empty() ? text.size() : withWhiteSpace(text, ends.front());
}

std::size_t SentenceCutter::clauses(std::string_view text) {
  std::size_t last = 0;
  for (const std::string_view mark : asciiMarks) {
    last = std::max(last, endAfter(text, mark, true));
  }
  for (const std::string_view mark : otherMarks) {
    last = std::max(last, endAfter(text, mark, false));
  }
  return endsWithMark(text) ? text.size() : last;
}

}  // namespace KQ::speaking
