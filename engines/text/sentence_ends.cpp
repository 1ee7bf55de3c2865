#include "text/sentence_ends.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

/// A string after which a text can be cut.
struct Ending {
  std::string_view text;
  CutQuality quality;
};

/// In descending quality: the first one that a text ends with counts.
constexpr std::array<Ending, 19> endings{{{"\n\n", CutQuality::paragraph},
                                          {"\n\r\n", CutQuality::paragraph},
                                          {"\n", CutQuality::sentence},
                                          {"! ", CutQuality::sentence},
                                          {"? ", CutQuality::sentence},
                                          {"。", CutQuality::sentence},
                                          {"！", CutQuality::sentence},
                                          {"？", CutQuality::sentence},
                                          {"؟ ", CutQuality::sentence},
                                          {". ", CutQuality::likelySentence},
                                          {"; ", CutQuality::likelySentence},
                                          {": ", CutQuality::likelySentence},
                                          {"।", CutQuality::likelySentence},
                                          {", ", CutQuality::clause},
                                          {"、", CutQuality::clause},
                                          {"，", CutQuality::clause},
                                          {"،", CutQuality::clause},
                                          {" ", CutQuality::betweenWords},
                                          {"\t", CutQuality::betweenWords}}};

/// Compares from the end: most texts differ there.
bool endsWith(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() && std::equal(ending.rbegin(), ending.rend(), text.rbegin());
}

bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}

bool isUpper(char c) {
  return c >= 'A' && c <= 'Z';
}

bool hasAny(std::string_view text, const char* characters) {
  return text.find_first_of(characters) != std::string_view::npos;
}

/// Whether a full stop after a word may belong to the word: "Dr. No", "J. Bach".
bool isAbbreviation(std::string_view word) {
  static const std::set<std::string, std::less<>> titles{
      "Capt", "Col", "Dr",   "Gen", "Gov", "Hon", "Jr", "Lt", "Mr", "Mrs",
      "Ms",   "No",  "Prof", "Rev", "Sen", "Sgt", "Sr", "St", "vs"};
  return (word.size() == 1 && isUpper(word.front())) || word.find('.') != std::string_view::npos ||
         titles.count(word) != 0;
}

}  // namespace

CutQuality cutQuality(std::string_view text, std::size_t cut, CutQuality enough) {
  if (isUtf8Continuation(text[cut])) {
    return CutQuality::none;
  }
  // The shortcut for most characters of a long text: no ending ends with one of these.
  const char last = text[cut - 1];
  if (last > ' ' && last <= '~') {
    return CutQuality::withinWord;
  }
  const std::string_view before = text.substr(0, cut);
  if (last == ' ' && cut > 1 && isLower(text[cut - 2])) {
    return CutQuality::betweenWords;  // the shortcut for most blanks
  }
  for (const Ending& ending : endings) {
    if (ending.quality <= enough || endsWith(before, ending.text)) {
      return ending.quality;
    }
  }
  return CutQuality::withinWord;
}

bool isSureEnd(std::string_view before, std::string_view after) {
  constexpr std::size_t longerThanTitles = 4;  // "Prof. Smith"
  if (endsWith(before, "\n\n") || endsWith(before, "! ") || endsWith(before, "? ")) {
    return true;
  }
  if (!endsWith(before, ". ") || before.size() < longerThanTitles + 2) {
    return false;
  }
  const std::string_view word =
      before.substr(before.size() - 2 - longerThanTitles, longerThanTitles);
  const char next = after.front();
  return std::all_of(word.begin(), word.end(), isLower) && (isUpper(next) || next == '\\');
}

bool endsSentence(const WordGap& gap) {
  if (gap.lineFeeds > 1 || hasAny(gap.punctuation, ":?!")) {
    return true;
  }
  return hasAny(gap.punctuation, ".") && !gap.next.empty() && isUpper(gap.next.front()) &&
         (gap.blanks > 1 || !isAbbreviation(gap.word));
}

}  // namespace KQ::engines
