#include "sentences/sentence_splitter.hpp"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/resbund.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>

#include "sentences/abbreviations.hpp"

namespace KQ::sentences {

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

/// A number of more digits is a year and not a day.
constexpr std::size_t longestOrdinal = 2;

struct Character {
  UChar32 point = -1;  ///< negative for none, and for bytes that are no UTF-8
  std::size_t length = 0;
};

Character characterAt(std::string_view text, std::size_t place) {
  constexpr std::size_t longest = 4;
  if (place >= text.size()) {
    return {};
  }
  const std::string_view bytes = text.substr(place, longest);
  const UChar32 point =
      icu::UnicodeString::fromUTF8({bytes.data(), static_cast<std::int32_t>(bytes.size())})
          .char32At(0);
  return point == 0xFFFD ? Character{-1, 1}
                         : Character{point, static_cast<std::size_t>(U8_LENGTH(point))};
}

/// The character that ends at a place.
Character characterBefore(std::string_view text, std::size_t place) {
  constexpr std::size_t mostContinuations = 3;
  if (place == 0) {
    return {};
  }
  std::size_t begin = place - 1;
  while (begin > 0 && place - begin <= mostContinuations && U8_IS_TRAIL(text[begin])) {
    --begin;
  }
  const Character character = characterAt(text, begin);
  return begin + character.length == place ? character : Character{-1, 1};
}

bool hasSentenceBreak(UChar32 point, USentenceBreak value) {
  return point >= 0 && u_getIntPropertyValue(point, UCHAR_SENTENCE_BREAK) == value;
}

bool isDigits(std::string_view word) {
  return !word.empty() &&
         std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The text for ICU, of the same length: white space becomes blanks, an ellipsis three full stops.
std::string asOneLine(std::string_view text) {
  constexpr std::string_view ellipsis = "…";
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return whiteSpace.find(c) != std::string::npos; },
      ' ');
  for (std::size_t at = line.find(ellipsis); at != std::string::npos;
       at = line.find(ellipsis, at)) {
    line.replace(at, ellipsis.size(), "...");
  }
  return line;
}

/// Where the empty line begins that separates two paragraphs, or the end.
std::size_t paragraphEnd(std::string_view text, std::size_t begin) {
  for (std::size_t at = text.find('\n', begin); at != std::string_view::npos;
       at = text.find('\n', at + 1)) {
    const std::size_t next = text.find_first_not_of(" \t\r\v\f", at + 1);
    if (next != std::string_view::npos && text[next] == '\n') {
      return at;
    }
  }
  return text.size();
}

/// Whether the text after a place shows if a sentence ends there: it does if it has a letter.
bool isDecided(std::string_view text, std::size_t place) {
  for (Character next = characterAt(text, place); next.length > 0;
       next = characterAt(text, place += next.length)) {
    if (next.point >= 0 && u_isalpha(next.point) != 0) {
      return true;
    }
  }
  return false;
}

std::size_t withoutWhiteSpace(std::string_view text) {
  const std::size_t last = text.find_last_not_of(whiteSpace);
  return last == std::string_view::npos ? 0 : last + 1;
}

}  // namespace

/// The boundaries of one language within one paragraph.
class SentenceSplitter::Boundaries {
 public:
  explicit Boundaries(const std::string& locale)
      : language(icu::Locale(locale.c_str()).getLanguage()), known(abbreviationsOf(language)) {
    UErrorCode status = U_ZERO_ERROR;
    iterator.reset(icu::BreakIterator::createSentenceInstance(icu::Locale(locale.c_str()), status));
    if (iterator == nullptr) {
      throw std::runtime_error("The data of ICU cannot be loaded");
    }
    addThoseOfIcu(locale);
    std::sort(known.words.begin(), known.words.end());
    std::sort(known.beforeNumbers.begin(), known.beforeNumbers.end());
  }

  /// Calls take(end) for the place behind each sentence's white space, but the last, until it
  /// returns false. \param line  as ICU is to see it
  template <typename Take>
  void forEach(const std::string& line, Take take) const {
    UErrorCode status = U_ZERO_ERROR;
    UText source = UTEXT_INITIALIZER;
    utext_openUTF8(&source, line.data(), static_cast<std::int64_t>(line.size()), &status);
    iterator->setText(&source, status);
    for (std::int32_t end = iterator->next(); end != icu::BreakIterator::DONE;
         end = iterator->next()) {
      const auto place = static_cast<std::size_t>(end);
      if (place >= line.size() || !take(place)) {
        break;
      }
    }
    utext_close(&source);
  }

  /// Whether a sentence of a paragraph may end at `end`, after its white space.
  bool isEnd(std::string_view paragraph, std::size_t end) const {
    const std::string_view closed =
        paragraph.substr(0, withoutWhiteSpace(paragraph.substr(0, end)));
    const std::string_view text = withoutClosingMarks(closed);
    const Character next = characterAt(paragraph, end);
    const bool goesOn = next.point >= 0 && u_islower(next.point) != 0;
    if (text.empty() || text.back() != '.') {
      return closed.size() == text.size() || !goesOn;  // "Go!" he said
    }
    return !goesOn && !isWithinSentence(text, next);
  }

 private:
  /// The abbreviations that ICU has for the locale. Its own filter takes them for the end of any
  /// word: with "r." among those of German, "Er war Lehrer." ends no sentence.
  void addThoseOfIcu(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::ResourceBundle rules(U_ICUDATA_NAME "-brkitr", icu::Locale(locale.c_str()), status);
    const icu::ResourceBundle lists = rules.get("exceptions", status);
    icu::ResourceBundle list = lists.get("SentenceBreak", status);
    while (U_SUCCESS(status) && list.hasNext()) {
      std::string words;
      list.getNextString(status).toUTF8String(words);
      known.words.push_back(words.substr(words.rfind(' ') + 1));
    }
  }

  static std::string_view withoutClosingMarks(std::string_view text) {
    for (Character last = characterBefore(text, text.size());
         hasSentenceBreak(last.point, U_SB_CLOSE); last = characterBefore(text, text.size())) {
      text.remove_suffix(last.length);
    }
    return text;
  }

  /// \param text  ends with a full stop
  bool isWithinSentence(std::string_view text, const Character& next) const {
    const std::size_t blank = text.find_last_of(" (\t\n\v\f\r");
    const std::size_t begin = blank == std::string_view::npos ? 0 : blank + 1;
    const std::string_view word = text.substr(begin);
    const std::string_view name = word.substr(0, word.size() - 1);
    if (isDigits(name)) {
      return beginsLine(text, begin) ||
             (writesOrdinalsWithDots(language) && name.size() <= longestOrdinal &&
              !isFollowedByDigits(next));
    }
    const Character letter = characterBefore(name, name.size());
    const Character before = characterBefore(name, name.size() - letter.length);
    const bool isSingle = u_isalpha(letter.point) != 0 &&
                          (before.length == 0 || before.point == '.' || before.point == '-');
    return (isSingle && !isOneWordScript(letter.point)) || isIn(known.words, word) ||
           (isFollowedByDigits(next) && isIn(known.beforeNumbers, word));
  }

  static bool beginsLine(std::string_view text, std::size_t place) {
    const std::size_t before = text.find_last_not_of(" \t", place - 1);
    return place == 0 || before == std::string_view::npos || text[before] == '\n';
  }

  static bool isFollowedByDigits(const Character& next) {
    return next.point >= 0 && u_isdigit(next.point) != 0;
  }

  /// In these scripts a letter may be a whole word.
  static bool isOneWordScript(UChar32 point) { return hasSentenceBreak(point, U_SB_OLETTER); }

  static bool isIn(const std::vector<std::string>& words, std::string_view word) {
    return std::binary_search(words.begin(), words.end(), word, std::less<>());
  }

  const std::string language;
  Abbreviations known;
  std::unique_ptr<icu::BreakIterator> iterator;
};

SentenceSplitter::SentenceSplitter(const std::string& locale)
    : boundaries(std::make_unique<Boundaries>(locale)) {}

SentenceSplitter::~SentenceSplitter() = default;

std::vector<std::size_t> SentenceSplitter::ends(std::string_view text) const {
  std::vector<std::size_t> found;
  const auto add = [&](std::size_t end) {
    if (end > 0 && (found.empty() || end > found.back())) {
      found.push_back(end);
    }
  };
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t paragraph = paragraphEnd(text, begin);
    const std::string line = asOneLine(text.substr(begin, paragraph - begin));
    boundaries->forEach(line, [&](std::size_t end) {
      if (boundaries->isEnd(text.substr(begin, line.size()), end)) {
        add(begin + withoutWhiteSpace(text.substr(begin, end)));
      }
      return true;
    });
    if (const std::size_t length = withoutWhiteSpace(line)) {
      add(begin + length);
    }
    begin = std::max(paragraph, begin + 1);
  }
  return found;
}

std::size_t SentenceSplitter::firstEnd(std::string_view text) const {
  const std::size_t begin = std::min(text.find_first_not_of(whiteSpace), text.size());
  const std::size_t paragraphsEnd = paragraphEnd(text, begin);
  const std::string_view paragraph = text.substr(begin, paragraphsEnd - begin);
  const bool isWhole = paragraphsEnd < text.size();
  const std::string line = asOneLine(paragraph);
  std::size_t found = 0;
  boundaries->forEach(line, [&](std::size_t end) {
    const bool isSure = isWhole || isDecided(paragraph, end);
    if (isSure && boundaries->isEnd(paragraph, end)) {
      found = withoutWhiteSpace(paragraph.substr(0, end));
    }
    return isSure && found == 0;
  });
  if (found == 0 && isWhole) {
    found = withoutWhiteSpace(line);
  }
  return found == 0 ? 0 : begin + found;
}

}  // namespace KQ::sentences
