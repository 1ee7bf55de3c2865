#include "text/spoken_text.hpp"

#include <algorithm>

#include "text/utf8.hpp"
#include "text/word_parts.hpp"

namespace KQ::engines {

namespace {

/// A piece of text ends after this many bytes, of the original or of the spoken text.
constexpr std::size_t enoughAtOnce = 512;

/// Released text is dropped once this many bytes have gathered.
constexpr std::size_t enoughToForget = 4096;

/// Returns the end of the character that has the byte at a place, or the place between characters.
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
  if (dictionary == nullptr && rewriter == nullptr) {
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
  item.offset = spokenEnd();
  end = tag.offset + tag.length;
  takeUpTo(end);
  return item;
}

MarkupItem SpokenText::takeText() {
  const std::size_t offset = spokenEnd();
  findReplacements(stretchEnd());
  // If the original comes in pieces, a word may be in two of them.
  while (taken > end) {
    const MarkupItem item = reader.next().value();
    end = item.offset + item.length;
  }
  return {MarkupItem::Kind::text, 0, offset, spokenEnd() - offset};
}

/// The end of the next stretch of text: at the end of a word, if a blank is near.
std::size_t SpokenText::stretchEnd() const {
  if (end - taken <= enoughAtOnce) {
    return end;
  }
  const std::string_view stretch = original.substr(taken, enoughAtOnce);
  const std::size_t blank = stretch.find_last_of(" \n");
  return blank == std::string_view::npos ? characterEnd(original, taken + enoughAtOnce)
                                         : taken + blank + 1;
}

/// Takes the text up to a place, with the replacements before it.
void SpokenText::findReplacements(std::size_t limit) {
  const std::string_view text = original.substr(0, end);
  const WordParts parts(original);
  const std::size_t begin = spokenEnd();
  const auto nextRewrite = [&](std::size_t place) {
    return rewriter == nullptr ? std::nullopt : rewriter->next(text, place, limit);
  };
  std::size_t place = taken;
  std::optional<Rewrite> rewrite = nextRewrite(place);
  while (place < limit && spokenEnd() - begin < enoughAtOnce) {
    DictionaryMatch match{nullptr, 1};
    if (dictionary != nullptr && parts.beginsAt(place)) {
      match = dictionary->matchAt(original, place);
    }
    const bool isRewritten = rewrite && rewrite->offset <= place;
    if (match.entry == nullptr && !isRewritten) {
      place = dictionary != nullptr ? place + match.length : rewrite ? rewrite->offset : limit;
      continue;
    }
    if (isRewritten) {
      takeUpTo(rewrite->offset);
      replace(*rewrite);
    } else {
      takeUpTo(place);
      replace(*match.entry, match.length);
    }
    place = taken;
    rewrite = nextRewrite(place);
  }
  takeUpTo(std::max(characterEnd(original, place), taken));
}

/// Takes text of the original unchanged.
void SpokenText::takeUpTo(std::size_t place) {
  if (place == taken) {
    return;
  }
  const std::string_view some = original.substr(taken, place - taken);
  if (lastEntry != nullptr && joinWords(lastEntry->replacement, some)) {
    window.text += ' ';
    ++replacements.back().length;
  }
  if (isCopied) {
    window.text += some;
  }
  lastEntry = nullptr;
  taken = place;
}

/// From now on the text is copied, and so is the text that was read and not released.
void SpokenText::copy() {
  if (!isCopied) {
    window.begin = released;
    window.text = original.substr(released, taken - released);
    isCopied = true;
  }
}

void SpokenText::replace(const Rewrite& rewrite) {
  copy();
  replacements.push_back({window.end(), rewrite.text.size(), taken, rewrite.length});
  window.text += rewrite.text;
  lastEntry = nullptr;
  taken += rewrite.length;
}

void SpokenText::replace(const DictionaryEntry& entry, std::size_t length) {
  copy();
  const std::size_t offset = window.end();
  const std::string_view before =
      lastEntry != nullptr ? lastEntry->replacement : original.substr(0, taken);
  if (joinWords(before, entry.replacement)) {
    window.text += ' ';
  }
  window.text += rewriter == nullptr ? entry.replacement : rewritten(*rewriter, entry.replacement);
  replacements.push_back({offset, window.end() - offset, taken, length});
  lastEntry = &entry;
  taken += length;
}

void SpokenText::release(std::size_t offset) {
  released = offset;
  if (!isCopied || offset < window.begin + enoughToForget ||
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

/// Returns the last replacement that begins there or before, or null.
const SpokenText::Replacement* SpokenText::lastReplacementUpTo(std::size_t offset) const {
  const auto after = std::upper_bound(
      replacements.begin(), replacements.end(), offset,
      [](std::size_t place, const Replacement& some) { return place < some.offset; });
  return after == replacements.begin() ? nullptr : &*std::prev(after);
}

}  // namespace KQ::engines
