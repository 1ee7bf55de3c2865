#include "say/sentence_reader.hpp"

#include "text/utf8.hpp"

namespace tool {

namespace {

/// A line or sentence that nothing follows for so long is spoken as it stands.
constexpr int linePauseMs = 200;

/// Where to cut a sentence that is too long: after its last word that fits, else between
/// characters.
std::size_t cut(std::string_view text) {
  text = text.substr(0, SentenceReader::maxBytes);
  const std::size_t space = text.find_last_of(whiteSpace);
  if (space != std::string_view::npos) {
    return space;
  }
  for (std::size_t end = text.size(); end + 4 > text.size(); --end) {
    const bool startsCharacter = (static_cast<unsigned char>(text[end - 1]) & 0xC0U) != 0x80U;
    if (startsCharacter) {
      return characterLength(text.substr(end - 1)) == 0 ? end - 1 : text.size();
    }
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
    if (!sentence.text.empty()) {
      return sentence;
    }
  }
  return std::nullopt;
}

/// \return the length of the next sentence, which is in the buffer then; 0 when there is none
std::size_t SentenceReader::readUntilSentenceEnd() {
  for (;;) {
    skipWhiteSpace();
    const std::string_view text = unread().substr(0, maxBytes);
    if (const std::size_t end = splitter.firstEnd(text); end != 0) {
      return end;
    }
    if (unread().size() > maxBytes) {
      return cut(unread());
    }
    if (ended) {
      return text.empty() ? 0 : splitter.ends(text).front();
    }
    const bool mayBeOver = endsWithALineOrSentence(text);
    const TextSource::Result result =
        source.read(buffer, mayBeOver ? linePauseMs : StopRequest::forever);
    if (result == TextSource::Result::quiet && mayBeOver) {
      return unread().size();
    }
    ended = result == TextSource::Result::end;
  }
}

bool SentenceReader::endsWithALineOrSentence(std::string_view text) const {
  if (text.empty() || text.back() == '\n') {
    return !text.empty();
  }
  const bool mayEnd = text.back() == ' ' || static_cast<unsigned char>(text.back()) >= 0x80;
  return mayEnd && splitter.firstEnd(std::string(text) + " A") != 0;
}

void SentenceReader::skipWhiteSpace() {
  const std::size_t text = buffer.find_first_not_of(whiteSpace, begin);
  begin = text == std::string::npos ? buffer.size() : text;
  if (begin < buffer.size() - begin) {
    return;
  }
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
