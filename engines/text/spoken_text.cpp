#include "text/spoken_text.hpp"

#include <algorithm>

#include "text/utf8.hpp"
#include "text/word_parts.hpp"

namespace KQ::engines {

namespace {

/// A piece of text ends behind so many bytes, of the original or of what is spoken.
constexpr std::size_t enoughAtOnce = 512;

/// What was released is forgotten when it is so much.
constexpr std::size_t enoughToForget = 4096;

/// A place, or where the character that it stands in ends.
std::size_t characterEnd(std::string_view text, std::size_t place) {
  constexpr std::size_t mostContinuations = 3;
  const std::size_t limit = std::min(text.size(), place + mostContinuations);
  while (place < limit && isUtf8Continuation(text[place])) {
    ++place;
  }
  return place;
}

}  // namespace

std::optional<MarkupItem> SpokenText::next() {
  if (dictionary == nullptr) {
    return reader.next();
  }
  if (taken == end) {
    const std::optional<MarkupItem> item = reader.next();
    if (!item) {
      return std::nullopt;
    }
    if (item->kind != MarkupItem::Kind::text) {
      return takeTag(*item);
    }
    end = item->offset + item->length;
  }
  return takeText();
}

MarkupItem SpokenText::takeTag(const MarkupItem& tag) {
  MarkupItem item = tag;
  item.offset = window.end();
  end = tag.offset + tag.length;
  takeUpTo(end);
  return item;
}

MarkupItem SpokenText::takeText() {
  const WordParts parts(original);
  const std::size_t offset = window.end();
  const std::size_t limit = std::min(end, taken + enoughAtOnce);
  std::size_t place = taken;
  while (place < limit && window.end() - offset < enoughAtOnce) {
    if (!parts.beginsAt(place)) {
      ++place;
      continue;
    }
    const DictionaryMatch match = dictionary->matchAt(original, place);
    if (match.entry != nullptr) {
      takeUpTo(place);
      replace(*match.entry, match.length);
    }
    place += match.length;
  }
  takeUpTo(characterEnd(original, place));
  // Where the original is in pieces, a word may stand in two of them.
  while (taken > end) {
    const MarkupItem item = reader.next().value();
    end = item.offset + item.length;
  }
  return {MarkupItem::Kind::text, 0, offset, window.end() - offset};
}

/// Takes the original as it is.
void SpokenText::takeUpTo(std::size_t place) {
  if (place == taken) {
    return;
  }
  const std::string_view some = original.substr(taken, place - taken);
  if (lastEntry != nullptr && joinWords(lastEntry->replacement, some)) {
    window.text += ' ';
    ++replacements.back().length;
  }
  window.text += some;
  lastEntry = nullptr;
  taken = place;
}

void SpokenText::replace(const DictionaryEntry& entry, std::size_t length) {
  const std::size_t offset = window.end();
  const std::string_view before =
      lastEntry != nullptr ? lastEntry->replacement : original.substr(0, taken);
  if (joinWords(before, entry.replacement)) {
    window.text += ' ';
  }
  window.text += entry.replacement;
  replacements.push_back({offset, window.end() - offset, taken, length});
  lastEntry = &entry;
  taken += length;
}

void SpokenText::release(std::size_t offset) {
  if (dictionary == nullptr || offset < window.begin + enoughToForget ||
      offset - window.begin < window.text.size() / 2) {
    return;
  }
  window.text.erase(0, offset - window.begin);
  window.begin = offset;
  if (const Replacement* const last = lastReplacementUpTo(offset)) {
    replacements.erase(replacements.begin(), replacements.begin() + (last - replacements.data()));
  }
}

SpeechWord SpokenText::inOriginal(const SpeechWord& word) const {
  const auto moved = [](const Replacement* last, std::size_t offset) {
    return last == nullptr ? offset
                           : offset - (last->offset + last->length) + last->originalOffset +
                                 last->originalLength;
  };
  const std::size_t wordEnd = word.textOffset + word.textLength;
  const Replacement* const first = lastReplacementUpTo(word.textOffset);
  const Replacement* const last = wordEnd == 0 ? nullptr : lastReplacementUpTo(wordEnd - 1);
  const bool beginsInside = first != nullptr && word.textOffset < first->offset + first->length;
  const bool endsInside = last != nullptr && wordEnd < last->offset + last->length;
  const std::size_t originalBegin =
      beginsInside ? first->originalOffset : moved(first, word.textOffset);
  const std::size_t originalEnd =
      endsInside ? last->originalOffset + last->originalLength : moved(last, wordEnd);
  return {originalBegin, originalEnd - originalBegin, word.samplePosition};
}

/// The last one that begins there or before, or null.
const SpokenText::Replacement* SpokenText::lastReplacementUpTo(std::size_t offset) const {
  const auto after = std::upper_bound(
      replacements.begin(), replacements.end(), offset,
      [](std::size_t place, const Replacement& some) { return place < some.offset; });
  return after == replacements.begin() ? nullptr : &*std::prev(after);
}

}  // namespace KQ::engines
