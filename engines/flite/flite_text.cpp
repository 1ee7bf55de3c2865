#include "flite/flite_text.hpp"

#include <algorithm>
#include <utility>

#include "flite/ascii_text.hpp"
#include "text/sentence_ends.hpp"
#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using Kind = MarkupItem::Kind;

/// The longest word, in letters. Flite spells an unusual word letter by letter, and copies the rest
/// of the word for each.
constexpr std::size_t longestWord = 60;

/// The most punctuation at one side of a word, in letters.
constexpr std::size_t mostPunctuation = 16;

/// After this many blanks without a word, the reader returns an empty token.
constexpr int mostBlanks = 4096;

/// The most tokens that are read for one phrase, words or not.
constexpr int mostRead = 1000;

/// A phrase of at least this many words ends at the next punctuation; none has more than
/// `mostWords`.
constexpr std::size_t wordsToPunctuation = 20;
constexpr std::size_t mostWords = 40;

/// A word ends behind so many digits or consonants in a row: each of them may be spoken as a word.
constexpr std::size_t mostSpelled = 20;

/// A number of so many digits is a word as any other.
constexpr std::size_t shortNumber = 4;

constexpr const char* openingPunctuation = "\"'`({[";
constexpr const char* closingPunctuation = "\"'`.,:;!?(){}[]";
constexpr const char* spokenSigns = "@#$%^&*|=+~_/";

bool isUpper(char letter) {
  return letter >= 'A' && letter <= 'Z';
}

bool isSpoken(char letter) {
  return (letter >= 'a' && letter <= 'z') || isUpper(letter) || (letter >= '0' && letter <= '9') ||
         std::string_view(spokenSigns).find(letter) != std::string_view::npos;
}

bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

bool isVowel(char letter) {
  return std::string_view("aeiouyAEIOUY").find(letter) != std::string_view::npos;
}

/// Whether Flite may speak it with a word of its own.
bool mayBeSpelled(char letter) {
  return isSpoken(letter) && !isVowel(letter);
}

/// How many words a word may be spoken as.
std::size_t spokenWords(const std::string& word) {
  const auto digits = static_cast<std::size_t>(std::count_if(word.begin(), word.end(), isDigit));
  const auto stops = static_cast<std::size_t>(std::count(word.begin(), word.end(), '.'));
  const auto signs = static_cast<std::size_t>(std::count_if(word.begin(), word.end(), [](char c) {
    return std::string_view(spokenSigns).find(c) != std::string_view::npos;
  }));
  std::size_t run = 0;
  std::size_t longestRun = 0;
  for (const char letter : word) {
    run = mayBeSpelled(letter) && !isDigit(letter) ? run + 1 : 0;
    longestRun = std::max(run, longestRun);
  }
  constexpr std::size_t mostConsonants = 6;  // of a word that is read as one: "Knightsbridge"
  const std::size_t letters = longestRun > mostConsonants ? word.size() - digits : 0;
  const std::size_t numerals = digits > shortNumber ? digits : 0;
  return 1 + letters + numerals + (stops > 2 ? stops : 0) + (signs > 1 ? signs : 0);
}

bool hasAny(const std::string& text, const char* characters) {
  return text.find_first_of(characters) != std::string::npos;
}

bool endsSentence(const FliteToken& last, const FliteToken& next) {
  return endsSentence(WordGap{last.name, last.after, next.blanks, next.lineFeeds, next.name});
}

}  // namespace

std::optional<FliteToken> FliteTokenReader::next() {
  bool isOver = false;
  while (!isOver) {
    if (!letters.empty()) {
      isOver = readLetter();
    } else if (position < end) {
      readCharacter();
    } else if (!word.empty() && !source.textGoesOn()) {
      isOver = true;
    } else if (const std::optional<MarkupItem> item = source.next()) {
      readMarkup(*item);
    } else {
      return std::nullopt;
    }
  }
  return take();
}

std::vector<MarkupItem> FliteTokenReader::takeInsertions() {
  return std::exchange(insertions, {});
}

void FliteTokenReader::readMarkup(const MarkupItem& item) {
  switch (item.kind) {
    case Kind::text:
      position = item.offset;
      end = item.offset + item.length;
      break;
    case Kind::pause:
    case Kind::mark:
      insertions.push_back(item);
      break;
    case Kind::volume:
    case Kind::speed:
    case Kind::pitch:
    case Kind::reset:
      settings.prosody.apply(item);
      break;
    case Kind::style:
    case Kind::last:
    case Kind::ignored:
      break;
  }
}

void FliteTokenReader::readCharacter() {
  const std::string_view rest = source.view(position, end - position);
  const std::size_t length = std::max<std::size_t>(utf8Length(rest), 1);
  letters = toAscii(rest.substr(0, length));
  std::reverse(letters.begin(), letters.end());
  begin = std::exchange(position, position + length);
}

/// Takes the next letter. \return whether the word ends with it
bool FliteTokenReader::readLetter() {
  const char letter = letters.back();
  letters.pop_back();
  if (letter != ' ' && letter != '\n') {
    if (word.empty()) {
      settings.blanks = std::exchange(blanks, 0);
      settings.lineFeeds = std::exchange(lineFeeds, 0);
    }
    word.push_back({letter, begin, position});
    spelled = mayBeSpelled(letter) ? spelled + 1 : 0;
    return word.size() == longestWord || spelled == mostSpelled;
  }
  // A blank after a word counts for the next word.
  ++blanks;
  lineFeeds += letter == '\n' ? 1 : 0;
  return !word.empty() || blanks == mostBlanks;
}

/// Returns the word that was read, and its punctuation apart.
FliteToken FliteTokenReader::take() {
  const auto isIn = [](const char* characters) {
    return [=](const Letter& letter) {
      return std::string_view(characters).find(letter.ascii) != std::string_view::npos;
    };
  };
  const auto append = [](std::string& target, auto from, auto to) {
    for (; from != to && target.size() < longestWord; ++from) {
      target += from->ascii;
    }
  };
  FliteToken token = settings;
  token.offset = begin;
  if (word.empty()) {
    token.blanks = std::exchange(blanks, 0);
  }
  const auto first = std::find_if_not(word.begin(), word.end(), isIn(openingPunctuation));
  const auto last =
      std::find_if_not(word.rbegin(), std::make_reverse_iterator(first), isIn(closingPunctuation))
          .base();
  append(token.before, word.begin(), std::min(first, word.begin() + mostPunctuation));
  append(token.after, last,
         std::min(word.end(), last + std::min<std::ptrdiff_t>(word.end() - last, mostPunctuation)));
  if (std::any_of(first, last, [](const Letter& letter) { return isSpoken(letter.ascii); })) {
    append(token.name, first, last);
    token.offset = first->begin;
    token.length = (last - 1)->end - first->begin;
    token.insertions = takeInsertions();
  }
  word.clear();
  spelled = 0;
  return token;
}

std::optional<FlitePhrase> FliteText::next() {
  if (finished) {
    return std::nullopt;
  }
  if (pending) {
    source.release(pending->offset);
  }
  FlitePhrase phrase;
  phrase.continues = std::exchange(isContinued, false);
  std::vector<FliteToken>& tokens = phrase.tokens;
  words = 0;
  bool isOver = false;
  for (int read = 0; pending && !isOver; ++read) {
    if (!pending->name.empty()) {
      words += spokenWords(pending->name);
      tokens.push_back(*std::move(pending));
    } else if (!tokens.empty() && tokens.back().after.size() < mostPunctuation) {
      tokens.back().after += pending->before + pending->after;
    }
    pending = reader.next();
    isOver = read == mostRead || (pending && (pending->blanks == mostBlanks || endsPhrase(tokens)));
  }
  phrase.isContinued = isContinued;
  finished = !pending;
  if (finished) {
    phrase.insertions = reader.takeInsertions();
  }
  return phrase;
}

/// Whether a phrase of these words ends before the pending one.
bool FliteText::endsPhrase(const std::vector<FliteToken>& tokens) {
  if (tokens.empty() || pending->name.empty()) {
    return false;
  }
  const FliteToken& last = tokens.back();
  const bool isClause = tokens.size() >= wordsToPunctuation && hasAny(last.after, ",;.");
  if (isClause || endsSentence(last, *pending)) {
    return true;
  }
  isContinued = words + spokenWords(pending->name) > mostWords ||
                pending->prosody.pitch != last.prosody.pitch;
  return isContinued;
}

}  // namespace KQ::engines
