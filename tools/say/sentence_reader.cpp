#include "say/sentence_reader.hpp"

#include <algorithm>
#include <array>

#include "text/utf8.hpp"

namespace tool {

namespace {

/// A line that nothing follows for so long is spoken as it stands.
constexpr int linePauseMs = 200;

/// Marks that end a sentence when white space follows.
constexpr std::array<std::string_view, 6> spacedMarks = {".", "!", "?", "…", "؟", "।"};
/// Marks of scripts that put no space between sentences.
constexpr std::array<std::string_view, 3> unspacedMarks = {"。", "！", "？"};
/// What may stand between a sentence's mark and its end.
constexpr std::array<std::string_view, 9> closingMarks = {"\"", "'", ")",  "]", "”",
                                                          "’",  "»", "」", "』"};
/// Words whose full stop does not end a sentence; nor does one after a single letter.
constexpr std::array<std::string_view, 7> abbreviations = {"Mr",   "Mrs", "Ms", "Dr",
                                                           "Prof", "St",  "vs"};

template <std::size_t size>
std::size_t lengthOfOne(const std::array<std::string_view, size>& marks, std::string_view text) {
  for (const std::string_view mark : marks) {
    if (text.substr(0, mark.size()) == mark) return mark.size();
  }
  return 0;
}

bool isSpace(char byte) {
  return whiteSpace.find(byte) != std::string_view::npos;
}

bool isAbbreviation(std::string_view text) {
  const std::size_t lastSpace = text.find_last_of(" \t\n\r.(");
  const std::string_view word =
      lastSpace == std::string_view::npos ? text : text.substr(lastSpace + 1);
  if (word.size() == 1) return word[0] < '0' || word[0] > '9';
  return std::find(abbreviations.begin(), abbreviations.end(), word) != abbreviations.end();
}

/// The end of the sentence whose mark stands at `at`, or 0 when none ends there (as far as one
/// sees).
std::size_t endAfterMark(std::string_view text, std::size_t at) {
  std::size_t mark = lengthOfOne(unspacedMarks, text.substr(at));
  const bool needsSpace = mark == 0;
  if (needsSpace) mark = lengthOfOne(spacedMarks, text.substr(at));
  if (mark == 0 || (text[at] == '.' && isAbbreviation(text.substr(0, at)))) return 0;
  std::size_t end = at + mark;
  while (const std::size_t closing = lengthOfOne(closingMarks, text.substr(end))) end += closing;
  if (!needsSpace) return end;
  return end < text.size() && isSpace(text[end]) ? end : 0;
}

/// Whether the line that ends at `at` is followed by one without text.
bool emptyLineFollows(std::string_view text, std::size_t at) {
  const std::size_t next = text.find_first_not_of(" \t\r", at + 1);
  return next != std::string_view::npos && text[next] == '\n';
}

/// The bytes that a line end or a mark begins with; all others are passed over quickly.
std::string firstBytes() {
  std::string bytes = "\n";
  for (const std::string_view mark : spacedMarks) bytes += mark.front();
  for (const std::string_view mark : unspacedMarks) bytes += mark.front();
  return bytes;
}

/// The end of the first sentence, or 0 when no end is in sight.
std::size_t findSentenceEnd(std::string_view text) {
  static const std::string candidates = firstBytes();
  for (std::size_t at = text.find_first_of(candidates); at != std::string_view::npos;
       at = text.find_first_of(candidates, at + 1)) {
    if (text[at] == '\n' && emptyLineFollows(text, at)) return at;
    if (const std::size_t end = endAfterMark(text, at); end != 0) return end;
  }
  return 0;
}

/// Where to cut a sentence that is too long: after its last word that fits, else between
/// characters.
std::size_t cut(std::string_view text) {
  text = text.substr(0, SentenceReader::maxBytes);
  const std::size_t space = text.find_last_of(whiteSpace);
  if (space != std::string_view::npos) return space;
  for (std::size_t end = text.size(); end + 4 > text.size(); --end) {
    const bool startsCharacter = (static_cast<unsigned char>(text[end - 1]) & 0xC0U) != 0x80U;
    if (startsCharacter) return characterLength(text.substr(end - 1)) == 0 ? end - 1 : text.size();
  }
  return text.size();
}

void trim(Sentence& sentence) {
  const std::size_t begin = sentence.text.find_first_not_of(whiteSpace);
  if (begin == std::string::npos) {
    sentence.text.clear();
    return;
  }
  const std::size_t end = sentence.text.find_last_not_of(whiteSpace) + 1;
  sentence.text = sentence.text.substr(begin, end - begin);
  sentence.offset += begin;
}

}  // namespace

std::optional<Sentence> SentenceReader::next() {
  while (const std::size_t length = readUntilSentenceEnd()) {
    Sentence sentence = take(length);
    foreignBytes |= makeSpeakable(sentence.text);
    trim(sentence);
    if (!sentence.text.empty()) return sentence;
  }
  return std::nullopt;
}

/// \return the length of the next sentence, which is in the buffer then; 0 when there is none
std::size_t SentenceReader::readUntilSentenceEnd() {
  for (;;) {
    skipWhiteSpace();
    const std::string_view text = unread().substr(0, maxBytes);
    if (const std::size_t end = findSentenceEnd(text); end != 0) return end;
    if (unread().size() > maxBytes) return cut(unread());
    if (ended) return unread().size();
    const bool lineComplete = !text.empty() && text.back() == '\n';
    const TextSource::Result result =
        source.read(buffer, lineComplete ? linePauseMs : StopRequest::forever);
    if (result == TextSource::Result::quiet && lineComplete) return unread().size();
    ended = result == TextSource::Result::end;
  }
}

void SentenceReader::skipWhiteSpace() {
  const std::size_t text = buffer.find_first_not_of(whiteSpace, begin);
  begin = text == std::string::npos ? buffer.size() : text;
  if (begin < buffer.size() - begin) return;
  buffer.erase(0, begin);
  before += begin;
  begin = 0;
}

Sentence SentenceReader::take(std::size_t length) {
  Sentence sentence{std::string(unread().substr(0, length)), before + begin};
  begin += length;
  return sentence;
}

}  // namespace tool
