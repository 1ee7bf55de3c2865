#include "espeak_ng/clause_limits.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

/// What becomes of one character is at most so much of what a clause may hold.
constexpr int fullClause = 1700;  // in halves of a phoneme; 1000 phonemes less a safety margin
constexpr int wordLoad = 6;       // at most 300 words
constexpr int shortWordLoad = 26;
constexpr int spelledLetterLoad = 20;
constexpr int tagLoad = 20;

/// Words of so many letters may be abbreviations that are spoken in full: "usw".
constexpr int longestShortWord = 4;

/// Of a run without blanks: ASCII characters weigh 2, those of two bytes 5, others 6.
constexpr int fullRun = 200;

constexpr int mostSpelledLetters = 16;
constexpr int mostDottedLetters = 12;
constexpr int mostApostrophes = 8;

/// A comma and a line feed end a clause even if it has no letter.
constexpr std::string_view clauseEnd = ",\n";

enum class Sort : unsigned char {
  blank,
  lineFeed,
  vowel,
  consonant,
  digit,
  apostrophe,
  hyphen,
  stop,
  clausePunctuation,
  quiet,  ///< quotes, brackets
  sign,
  wideClauseEnd,  ///< of Chinese and Japanese, needs no blank after it
  letter,         ///< not ASCII
  mark,           ///< belongs to the letter before it
};

struct Character {
  Sort sort;
  int load;       ///< on its clause
  int runWeight;  ///< on its run
  std::size_t length;
};

constexpr std::array<Character, 128> asciiCharacters() {
  std::array<Character, 128> table{};
  for (Character& entry : table) {
    entry = {Sort::sign, 60, 2, 1};
  }
  const auto set = [&](std::string_view characters, Sort sort, int load) {
    for (const char character : characters) {
      table[static_cast<unsigned char>(character)] = {sort, load, 2, 1};
    }
  };
  set("bcdfghjklmnpqrstvwxzBCDFGHJKLMNPQRSTVWXZ", Sort::consonant, 3);
  set("aeiouyAEIOUY", Sort::vowel, 3);
  set("0123456789", Sort::digit, 36);
  set(" \t", Sort::blank, 1);
  set("\n", Sort::lineFeed, 1);
  set("'", Sort::apostrophe, 4);
  set("-", Sort::hyphen, 6);
  set(".", Sort::stop, 8);
  set(",;:!?", Sort::clausePunctuation, 6);
  set("\"()[]{}`", Sort::quiet, 6);
  return table;
}

constexpr std::array<Character, 128> ascii = asciiCharacters();

/// A character of the text, which is valid UTF-8.
Character characterOf(std::string_view text) {
  const auto byte = [&](std::size_t place) {
    return place < text.size() ? static_cast<unsigned char>(text[place]) : 0U;
  };
  if (byte(0) < 0x80) {
    return ascii[byte(0)];
  }
  if (byte(0) < 0xE0) {
    const unsigned int point = (byte(0) & 0x1FU) << 6U | (byte(1) & 0x3FU);
    if (point == 0x92 || point == 0xB4) {
      return {Sort::apostrophe, 4, 5, 2};
    }
    if ((point >= 0x300 && point <= 0x36F) || (point >= 0x64B && point <= 0x655)) {
      return {Sort::mark, 5, 5, 2};
    }
    return point < 0xC0 ? Character{Sort::sign, 60, 5, 2} : Character{Sort::letter, 5, 5, 2};
  }
  if (byte(0) >= 0xF0) {
    return {Sort::sign, 120, 6, 4};
  }
  const unsigned int point = (byte(0) & 0x0FU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
  if (point == 0x3001 || point == 0x3002 || point == 0xFF01 || point == 0xFF0C || point == 0xFF1F) {
    return {Sort::wideClauseEnd, 6, 6, 3};
  }
  if (point == 0x2018 || point == 0x2019 || point == 0x2032) {
    return {Sort::apostrophe, 4, 6, 3};
  }
  if (point >= 0x2010 && point <= 0x2027) {
    return {Sort::quiet, 20, 6, 3};
  }
  if (point >= 0x1E00 && point <= 0x1FFF) {
    return {Sort::letter, 5, 6, 3};
  }
  if (point >= 0x3040 && point <= 0x30FF) {
    return {Sort::letter, 12, 6, 3};  // kana
  }
  if (point >= 0xAC00 && point <= 0xD7FF) {
    return {Sort::letter, 20, 6, 3};  // becomes three letters of three bytes
  }
  return point >= 0x3400 && point <= 0x9FFF ? Character{Sort::letter, 34, 6, 3}
                                            : Character{Sort::sign, 60, 6, 3};
}

bool isLetter(Sort sort) {
  return sort == Sort::vowel || sort == Sort::consonant || sort == Sort::letter;
}

bool isBlank(Sort sort) {
  return sort == Sort::blank || sort == Sort::lineFeed;
}

bool isClauseMark(Sort sort) {
  return sort == Sort::stop || sort == Sort::clausePunctuation;
}

/// Finds where a text has to be changed. Reads it once, from its beginning to its end.
class ClauseScanner {
 public:
  explicit ClauseScanner(const EspeakText& text) : text(text.text), isMarkup(text.isMarkup) {}

  void scan();

  /// Where clauses have to end, ascending.
  const std::vector<std::size_t>& clauseEnds() const { return ends; }

  /// Hyphens that have to become blanks.
  const std::vector<std::size_t>& hyphensToBlank() const { return hyphens; }

 private:
  /// A place where the clause may end, and its load before it.
  struct Candidate {
    std::size_t place;
    int load;
    bool isLineFeed;
  };

  void readTag();
  Character characterAtPlace() const;
  void read(const Character& character);
  void readBlank(Sort sort);
  void readInRun(Sort sort);
  void readLetter(Sort sort);
  void readDigit();
  void readWideClauseEnd();
  void readStop();
  void readHyphen();
  void endWord();
  void endRun();
  void endClause();
  void breakClause();
  void breakInTime(const Character& character);
  bool endsLowerCaseWord() const;
  bool startsSentence() const;

  const std::string_view text;
  const bool isMarkup;
  std::size_t place = 0;
  std::vector<std::size_t> ends;
  std::vector<std::size_t> hyphens;

  Sort previous = Sort::blank;
  bool isBreakDue = false;  ///< before the next character

  // Of the clause.
  int load = 0;
  std::optional<Candidate> candidate;
  bool hasSpoken = false;       ///< a letter or a digit
  bool mayEndSentence = false;  ///< a full stop and a blank were read

  // Of the white space.
  bool hasLineFeed = false;

  // Of the run without blanks.
  int runWeight = 0;
  int apostrophes = 0;
  bool runHasSpoken = false;  ///< what is surely spoken

  // Of the word.
  int letters = 0;
  bool hasVowel = false;
  int consonants = 0;  ///< since the last vowel

  // Of dotted letters.
  bool lastWordIsLetter = false;
  int dotted = 0;
};

void ClauseScanner::scan() {
  while (place < text.size()) {
    if (isMarkup && text[place] == '<') {
      readTag();
    } else {
      const Character character = characterAtPlace();
      read(character);
      place += character.length;
    }
  }
}

void ClauseScanner::readTag() {
  endWord();
  endRun();
  load += tagLoad;
  previous = Sort::quiet;
  place = std::min(text.find('>', place), text.size() - 1) + 1;
}

Character ClauseScanner::characterAtPlace() const {
  Character character = characterOf(text.substr(place));
  if (isMarkup && text[place] == '&') {
    character.length = std::min(text.find(';', place), text.size() - 1) + 1 - place;
  }
  return character;
}

void ClauseScanner::read(const Character& character) {
  if (isBlank(character.sort)) {
    readBlank(character.sort);
  } else {
    breakInTime(character);
    if (std::exchange(mayEndSentence, false) && startsSentence()) {
      endClause();
    }
    if (isClauseMark(previous) && character.sort == Sort::quiet) {
      runHasSpoken = false;
    }
    readInRun(character.sort);
    hasLineFeed = false;
    runWeight += character.runWeight;
  }
  load += character.load;
  previous = character.sort;
}

void ClauseScanner::readInRun(Sort sort) {
  switch (sort) {
    case Sort::vowel:
    case Sort::consonant:
    case Sort::letter:
      readLetter(sort);
      break;
    case Sort::digit:
      readDigit();
      break;
    case Sort::stop:
      readStop();
      break;
    case Sort::apostrophe:
      isBreakDue = ++apostrophes == mostApostrophes;
      break;
    case Sort::hyphen:
      readHyphen();
      break;
    case Sort::sign:
      endWord();
      runHasSpoken = runHasSpoken || text[place] == '%';
      break;
    case Sort::wideClauseEnd:
      readWideClauseEnd();
      break;
    case Sort::clausePunctuation:
    case Sort::quiet:
      endWord();
      break;
    case Sort::mark:
    case Sort::blank:
    case Sort::lineFeed:
      break;
  }
}

void ClauseScanner::readBlank(Sort sort) {
  endWord();
  endRun();
  const bool isParagraph = sort == Sort::lineFeed && std::exchange(hasLineFeed, true);
  if (isParagraph || (previous == Sort::clausePunctuation && hasSpoken)) {
    endClause();
  } else if (previous == Sort::stop) {
    mayEndSentence = hasSpoken && endsLowerCaseWord();
  }
  const bool isBetter = !candidate || !candidate->isLineFeed || sort == Sort::lineFeed ||
                        candidate->load < fullClause / 2;
  if (load > 0 && isBetter && !isBlank(previous)) {
    candidate = {place, load, sort == Sort::lineFeed};
  }
}

void ClauseScanner::readLetter(Sort sort) {
  ++letters;
  hasVowel = hasVowel || sort != Sort::consonant;
  consonants = sort == Sort::consonant ? consonants + 1 : 0;
  hasSpoken = runHasSpoken = true;
  isBreakDue = consonants == mostSpelledLetters;
}

void ClauseScanner::readDigit() {
  endWord();
  dotted = 0;
  lastWordIsLetter = false;
  hasSpoken = runHasSpoken = true;
}

void ClauseScanner::readWideClauseEnd() {
  endWord();
  endRun();
  if (hasSpoken) {
    endClause();
  }
}

void ClauseScanner::readStop() {
  endWord();
  if (std::exchange(lastWordIsLetter, false)) {
    isBreakDue = ++dotted == mostDottedLetters;
  }
}

void ClauseScanner::readHyphen() {
  endWord();
  const std::string_view rest = text.substr(place + 1);
  if (!runHasSpoken && !isBlank(previous) && !rest.empty() && isLetter(characterOf(rest).sort)) {
    hyphens.push_back(place);
  }
}

void ClauseScanner::endWord() {
  if (letters == 0) {
    return;
  }
  if (letters > 1) {
    dotted = 0;
  }
  lastWordIsLetter = letters == 1;
  if (!hasVowel) {
    load += spelledLetterLoad * letters;
  }
  load += letters <= longestShortWord ? shortWordLoad - 3 * letters : wordLoad;
  letters = 0;
  consonants = 0;
  hasVowel = false;
}

void ClauseScanner::endRun() {
  runWeight = 0;
  apostrophes = 0;
  runHasSpoken = false;
}

void ClauseScanner::endClause() {
  load = 0;
  candidate.reset();
  hasSpoken = false;
}

/// Ends the clause before the character at `place`.
void ClauseScanner::breakClause() {
  endWord();
  endRun();
  endClause();
  dotted = 0;
  isBreakDue = false;
  previous = Sort::blank;
  ends.push_back(place);
}

/// Ends the clause if it or its last run cannot hold the character at `place`.
void ClauseScanner::breakInTime(const Character& character) {
  if (load + character.load > fullClause && candidate) {
    ends.push_back(candidate->place);
    load -= candidate->load;
    candidate.reset();
    hasSpoken = false;
  }
  if (isBreakDue || runWeight + character.runWeight > fullRun ||
      load + character.load > fullClause) {
    breakClause();
  }
}

/// Whether the full stop before `place` stands after a word in lower case, which no eSpeak NG takes
/// for a numeral.
bool ClauseScanner::endsLowerCaseWord() const {
  if (place < 3) {
    return false;
  }
  const auto isLower = [](char letter) {
    return (letter >= 'a' && letter <= 'z') || static_cast<unsigned char>(letter) >= 0x80;
  };
  return isLower(text[place - 2]) && isLower(text[place - 3]);
}

/// Whether a full stop and a blank before `place` surely end a sentence: not before lower case.
bool ClauseScanner::startsSentence() const {
  const auto byte = [&](std::size_t offset) {
    return place + offset < text.size() ? static_cast<unsigned char>(text[place + offset]) : 0U;
  };
  const unsigned int first = byte(0);
  const unsigned int second = byte(1);
  if (first < 0x80) {
    return (first < 'a' || first > 'z') && first != '-';
  }
  if (first == 0xC3) {
    return second <= 0x9E;
  }
  if (first == 0xCE) {
    return second <= 0xAB;
  }
  if (first == 0xD0) {
    return second <= 0xAF;
  }
  return first >= 0xD8;
}

/// Puts clause ends into a text. \param ends  not empty, ascending
void insertClauseEnds(EspeakText& written, const std::vector<std::size_t>& ends) {
  const std::string former = std::exchange(written.text, {});
  const std::vector<EspeakText::Run> runs = std::exchange(written.runs, {});
  written.text.reserve(former.size() + ends.size() * clauseEnd.size());
  auto run = runs.begin();
  std::size_t added = 0;
  const auto addRunsBefore = [&](std::size_t end) {
    for (; run != runs.end() && run->byte < end; ++run) {
      written.runs.push_back({run->character + added, run->byte + added, run->source});
    }
  };
  std::size_t taken = 0;
  for (const std::size_t end : ends) {
    addRunsBefore(end);
    written.text.append(former, taken, end - taken).append(clauseEnd);
    taken = end;
    added += clauseEnd.size();
    if (run == runs.end() || run->byte > end) {
      const EspeakText::Run& divided = *std::prev(run);
      const auto first = former.begin() + static_cast<std::ptrdiff_t>(divided.byte);
      const auto count = std::count_if(first, former.begin() + static_cast<std::ptrdiff_t>(end),
                                       [](char byte) { return !isUtf8Continuation(byte); });
      written.runs.push_back({divided.character + static_cast<std::size_t>(count) + added,
                              end + added, divided.source + end - divided.byte});
    }
  }
  addRunsBefore(former.size() + 1);
  written.text.append(former, taken);
}

}  // namespace

void limitClauses(EspeakText& text) {
#ifdef KQTTS_FUZZERS
  if (std::getenv("KQTTS_WITHOUT_LIMITS") != nullptr) {
    return;  // shows that the fuzzer finds what they are for
  }
#endif
  ClauseScanner scanner(text);
  scanner.scan();
  for (const std::size_t hyphen : scanner.hyphensToBlank()) {
    text.text[hyphen] = ' ';
  }
  if (!scanner.clauseEnds().empty()) {
    insertClauseEnds(text, scanner.clauseEnds());
  }
}

}  // namespace KQ::engines
