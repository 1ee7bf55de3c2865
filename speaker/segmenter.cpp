#include "segmenter.hpp"

#include <algorithm>

namespace KQ::speaking {

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

/// Numbers of marks that engines take for pauses begin here.
constexpr int mostMarks = 32000;

bool isBlank(std::string_view text) {
  return text.find_first_not_of(whiteSpace) == std::string_view::npos;
}

}  // namespace

Segmenter::Segmenter(SentenceCutter& sentenceCutter,
                     std::function<std::string(const std::string&)> locale)
    : cutter(sentenceCutter), localeOf(std::move(locale)) {}

void Segmenter::addText(std::string_view text, std::size_t textOffset) {
  if (text.empty()) {
    return;
  }
  spoken += text;
  if (!parts.empty() && parts.back().kind == Part::Kind::text && parts.back().isVerbatim &&
      parts.back().textOffset + parts.back().textLength == textOffset) {
    parts.back().text += text;
    parts.back().textLength += text.size();
    return;
  }
  parts.push_back({Part::Kind::text, std::string(text), "", textOffset, text.size(), true});
}

void Segmenter::addReplacement(std::string text, std::size_t textOffset, std::size_t textLength) {
  if (text.empty()) {
    return;
  }
  spoken += text;
  parts.push_back({Part::Kind::text, std::move(text), "", textOffset, textLength, false});
}

void Segmenter::addTag(std::string tag) {
  parts.push_back({Part::Kind::tag, std::move(tag)});
}

void Segmenter::addMark(std::string name, std::size_t textOffset, int number) {
  parts.push_back({Part::Kind::mark, std::move(name), "", textOffset, 0, false, number});
}

void Segmenter::setSettings(const std::string& tags, const std::string& change) {
  if (tags == lastSettings) {
    return;
  }
  parts.push_back({Part::Kind::settings, tags, change});
  lastSettings = tags;
}

void Segmenter::setVoice(const std::string& newLanguage, const std::string& newVoice) {
  if (newLanguage == language && newVoice == voice) {
    return;
  }
  closeStretch(false);
  language = newLanguage;
  voice = newVoice;
}

void Segmenter::endSentence() {
  closeStretch(true);
}

void Segmenter::addSound(const std::string& file, std::size_t textOffset, std::size_t textLength) {
  closeStretch(true);
  Segment segment;
  segment.soundFile = file;
  segment.textBegin = textOffset;
  segment.textEnd = textOffset + textLength;
  complete.push_back(std::move(segment));
}

void Segmenter::finish() {
  cutSentences(true);
  if (!parts.empty()) {
    makeSegment(spoken.size(), true);
  }
}

std::optional<Segment> Segmenter::next() {
  if (complete.empty()) {
    cutSentences(false);
  }
  if (complete.empty()) {
    return std::nullopt;
  }
  Segment segment = std::move(complete.front());
  complete.pop_front();
  return segment;
}

void Segmenter::cutAtClause() {
  const std::size_t length = SentenceCutter::clauses(spoken);
  if (length > 0 && !isBlank(std::string_view(spoken).substr(0, length))) {
    makeSegment(length, true);
  }
}

bool Segmenter::hasWords() const {
  return !isBlank(spoken);
}

void Segmenter::cutSentences(bool isWhole) {
  while (hasWords()) {
    const std::size_t length = cutter.sentence(spoken, localeOf(language), isWhole);
    if (length == 0) {
      return;
    }
    makeSegment(length, true);
  }
}

void Segmenter::closeStretch(bool endsSentence) {
  while (hasWords()) {
    std::size_t length = cutter.sentence(spoken, localeOf(language), true);
    const bool isLast = length >= spoken.size() || isBlank(std::string_view(spoken).substr(length));
    length = isLast ? spoken.size() : length;
    makeSegment(length, !isLast || endsSentence);
  }
  if (endsSentence && !complete.empty()) {
    complete.back().joinsNext = false;
    goesOn = false;
  }
}

/// The parts of so many bytes of text. Tags after the last word belong to what follows, but not a
/// mark that stands right after it.
std::vector<Segmenter::Part> Segmenter::takeParts(std::size_t length) {
  const bool isAll = length >= spoken.size();
  const std::size_t words =
      std::string_view(spoken).substr(0, length).find_last_not_of(whiteSpace) + 1;
  std::vector<Part> taken;
  std::size_t done = 0;
  while (!parts.empty()) {
    Part& part = parts.front();
    if (part.kind == Part::Kind::text && done + part.text.size() > length) {
      if (length > done) {
        taken.push_back(splitOff(part, length - done));
        done = length;
      }
      break;
    }
    const bool belongsToNext = part.kind == Part::Kind::mark ? done > words : done >= words;
    if (part.kind != Part::Kind::text && belongsToNext && !isAll) {
      break;
    }
    done += part.kind == Part::Kind::text ? part.text.size() : 0;
    taken.push_back(std::move(part));
    parts.pop_front();
  }
  spoken.erase(0, done);
  return taken;
}

Segmenter::Part Segmenter::splitOff(Part& part, std::size_t length) {
  Part begin = part;
  begin.text.resize(length);
  part.text.erase(0, length);
  if (part.isVerbatim) {
    begin.textLength = length;
    part.textOffset += length;
    part.textLength -= length;
  }
  return begin;
}

void Segmenter::makeSegment(std::size_t length, bool endsSentence) {
  Segment segment;
  segment.language = language;
  segment.voice = voice;
  segment.text = settings;
  segment.settingsLength = settings.size();
  for (const Part& part : takeParts(length)) {
    append(part, segment);
  }
  if (isBlank(std::string_view(segment.text).substr(segment.settingsLength))) {
    return;  // nothing to speak
  }
  if (!segment.origins.empty()) {
    segment.textBegin = segment.origins.front().textOffset;
    segment.textEnd = segment.origins.back().textOffset + segment.origins.back().textLength;
  } else if (!segment.marks.empty()) {
    segment.textBegin = segment.marks.front().textOffset;
    segment.textEnd = segment.marks.back().textOffset;
  }
  segment.joinsPrevious = goesOn;
  segment.joinsNext = !endsSentence;
  goesOn = !endsSentence;
  complete.push_back(std::move(segment));
}

void Segmenter::append(const Part& part, Segment& segment) {
  switch (part.kind) {
    case Part::Kind::text:
      segment.origins.push_back({segment.text.size(), part.text.size(), part.textOffset,
                                 part.textLength, part.isVerbatim});
      segment.text += part.text;
      break;
    case Part::Kind::tag:
      segment.text += part.text;
      break;
    case Part::Kind::mark: {
      const int given = 1 + static_cast<int>(segment.marks.size()) % mostMarks;
      const int number = part.number != 0 ? part.number : given;
      segment.marks.push_back({number, part.text, part.textOffset});
      segment.text += "\\mrk=" + std::to_string(number) + "\\";
      break;
    }
    case Part::Kind::settings:
      settings = part.text;
      if (segment.text.size() == segment.settingsLength) {
        segment.text = settings;  // nothing was spoken with the former ones
        segment.settingsLength = settings.size();
      } else {
        segment.text += part.change;
      }
      break;
  }
}

}  // namespace KQ::speaking
