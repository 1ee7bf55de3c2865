#include "isolation/host/speech_progress.hpp"

#include <algorithm>
#include <utility>

namespace KQ::isolation {

namespace {

constexpr std::uint64_t bytesPerSecond = 15;  // of speech, as long as nothing is known of the voice
constexpr int deathsOfSentence = 2;
constexpr std::size_t mostMarks = 1000;

}  // namespace

SpeechProgress::Piece SpeechProgress::piece() {
  if (isWhole) {
    return {"", text, true};
  }
  tags.readUpTo(text, begin);
  if (end == std::string_view::npos || end <= begin) {
    end = sentenceEnd(text, begin);
  }
  Piece piece{tags.prefix(), text.substr(begin, end - begin), end >= text.size()};
  prefixSize = piece.prefix.size();
  samplesBefore = samples;
  return piece;
}

std::optional<SpeechWord> SpeechProgress::word(const SpeechWord& reported) {
  if (reported.textOffset < prefixSize) {
    return std::nullopt;
  }
  SpeechWord word;
  word.textOffset = std::min(reported.textOffset - prefixSize + begin, text.size());
  word.textLength = std::min(reported.textLength, text.size() - word.textOffset);
  word.samplePosition = position(reported.samplePosition);
  const std::size_t wordEnd = word.textOffset + word.textLength;
  if (!isWhole && wordEnd <= toldUpTo) {
    return std::nullopt;
  }
  if (lastWord && word.samplePosition > lastWord->samplePosition) {
    wordSamples += word.samplePosition - lastWord->samplePosition;
    wordBytes += lastWord->textLength;
  }
  if (sentence == 0) {
    sentence = sentenceEnd(text, word.textOffset);
  } else if (word.textOffset >= sentence) {
    saidSentence = true;
    sentence = sentenceEnd(text, word.textOffset);
  }
  lastWord = word;
  toldUpTo = std::max(toldUpTo, wordEnd);
  marksSinceWord.clear();
  marksToldBefore.clear();
  return word;
}

bool SpeechProgress::mark(int number) {
  if (!marksToldBefore.empty() && marksToldBefore.front() == number) {
    marksToldBefore.pop_front();
    return false;
  }
  if (marksSinceWord.size() < mostMarks) {
    marksSinceWord.push_back(number);
  }
  return true;
}

void SpeechProgress::taken(std::size_t count, int samplingRate) {
  samples += count;
  rate = samplingRate;
}

void SpeechProgress::pieceSaid() {
  saidSentence = true;
  if (isWhole || end >= text.size()) {
    isAllSaid = true;
  } else {
    begin = end;
    marksSinceWord.clear();
    marksToldBefore.clear();
  }
}

bool SpeechProgress::isHeard(const SpeechWord& word) const {
  if (samples <= word.samplePosition) {
    return false;
  }
  // Nobody knows how long the word is that was being said. Half of what it takes by the pace so far
  // is enough to have understood it; less is said again.
  const std::uint64_t heard = samples - word.samplePosition;
  const std::uint64_t usual =
      wordBytes > 0
          ? word.textLength * wordSamples / wordBytes
          : word.textLength * static_cast<std::uint64_t>(std::max(rate, 0)) / bytesPerSecond;
  return heard * 2 >= usual;
}

std::size_t SpeechProgress::place() const {
  if (!lastWord || lastWord->textOffset < begin) {
    return begin;
  }
  if (!isHeard(*lastWord)) {
    return lastWord->textOffset;
  }
  return skipBetweenWords(text, lastWord->textOffset + lastWord->textLength);
}

bool SpeechProgress::engineDied() {
  begin = std::min(place(), text.size());
  isWhole = false;
  samplesBefore = samples;
  marksToldBefore = marksSinceWord;
  if (end == std::string_view::npos || end <= begin) {
    end = sentenceEnd(text, begin);
  }
  const std::size_t sentenceOfDeath = end;
  deaths = sentenceOfDeath == blamedSentence ? deaths + 1 : 1;
  blamedSentence = sentenceOfDeath;
  const bool isLeftOut = deaths >= deathsOfSentence;
  if (isLeftOut) {
    begin = sentenceOfDeath;
    sentence = 0;
    marksToldBefore.clear();
    marksSinceWord.clear();
  }
  isAllSaid = begin >= text.size();
  return isLeftOut;
}

bool SpeechProgress::hasSaidSentence() {
  return std::exchange(saidSentence, false);
}

}  // namespace KQ::isolation
