#include "text/text_chunks.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

/// What a text may be cut behind, the higher its quality the rather.
struct Ending {
  std::string_view text;
  int quality;
};

constexpr int withinWord = 1;
constexpr int betweenWords = 2;

/// The best first, so that the first one that a text ends with counts.
constexpr std::array<Ending, 19> endings{{{"\n\n", 6},
                                          {"\n\r\n", 6},
                                          {"\n", 5},
                                          {"! ", 5},
                                          {"? ", 5},
                                          {"。", 5},
                                          {"！", 5},
                                          {"？", 5},
                                          {"؟ ", 5},
                                          {". ", 4},
                                          {"; ", 4},
                                          {": ", 4},
                                          {"।", 4},
                                          {", ", 3},
                                          {"、", 3},
                                          {"，", 3},
                                          {"،", 3},
                                          {" ", betweenWords},
                                          {"\t", betweenWords}}};

/// From the end on: most texts differ there.
bool endsWith(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() && std::equal(ending.rbegin(), ending.rend(), text.rbegin());
}

bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}

/// How well a text may be cut at a place within it, 0 for not at all.
/// \param enough  more is not looked for
int cutQuality(std::string_view text, std::size_t cut, int enough) {
  if (isUtf8Continuation(text[cut])) {
    return 0;
  }
  // Most characters of a long text end here: none of the endings ends so.
  const char last = text[cut - 1];
  if (last > ' ' && last <= '~') {
    return withinWord;
  }
  const std::string_view before = text.substr(0, cut);
  if (last == ' ' && cut > 1 && isLower(text[cut - 2])) {
    return betweenWords;  // as at most blanks
  }
  for (const Ending& ending : endings) {
    if (ending.quality <= enough || endsWith(before, ending.text)) {
      return ending.quality;
    }
  }
  return withinWord;
}

/// Whether a synthesiser speaks a text there as if it ended: behind a paragraph, and behind a sentence
/// that no abbreviation ends.
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
  return std::all_of(word.begin(), word.end(), isLower) &&
         ((next >= 'A' && next <= 'Z') || next == '\\');
}

}  // namespace

void TextChunks::restart(SpokenText& wholeText) {
  text = &wholeText;
  pending.clear();
  size = 0;
  room = firstLongest;
  isRead = finished = false;
}

const TextChunk* TextChunks::next() {
  chunk.clear();
  if (finished) {
    return nullptr;
  }
  if (!pending.empty()) {
    text->release(pending.front().offset);
  }
  for (;; room = std::min(4 * room, longest)) {
    read();
    if (size <= room) {
      finished = true;
      std::swap(chunk, pending);
      return &chunk;
    }
    const std::size_t cut = bestCut();
    if (room == longest || isSureEnd(rest().substr(0, cut), rest().substr(cut))) {
      room = std::min(4 * room, longest);
      take(cut);
      return &chunk;
    }
  }
}

/// Reads on until there is more than the room holds, or the text ends.
void TextChunks::read() {
  while (size <= room && !isRead) {
    if (const std::optional<MarkupItem> item = text->next()) {
      pending.push_back(*item);
      size += item->length;
    } else {
      isRead = true;
    }
  }
}

/// What is pending.
std::string_view TextChunks::rest() const {
  return text->view(pending.front().offset, size);
}

/// The last one of the best places in the second half of the room, in bytes.
std::size_t TextChunks::bestCut() const {
  const std::string_view all = rest();
  std::size_t best = room;
  int bestQuality = 0;
  std::size_t end = size;
  for (auto item = pending.rbegin(); item != pending.rend() && end > room / 2; ++item) {
    const std::size_t begin = end - item->length;
    if (item->kind != MarkupItem::Kind::text) {
      if (end <= room && bestQuality < betweenWords) {
        best = end;
        bestQuality = betweenWords;
      }
    } else {
      for (std::size_t cut = std::min(end, room); cut > std::max(begin, room / 2); --cut) {
        const int quality = cutQuality(all, cut, bestQuality);
        if (quality > bestQuality) {
          best = cut;
          bestQuality = quality;
        }
      }
    }
    end = begin;
  }
  return best;
}

/// Moves what is pending, up to a place in it, to the chunk.
void TextChunks::take(std::size_t cut) {
  std::size_t taken = 0;
  auto item = pending.begin();
  for (; item != pending.end() && taken + item->length <= cut; ++item) {
    chunk.push_back(*item);
    taken += item->length;
  }
  pending.erase(pending.begin(), item);
  if (const std::size_t some = cut - taken; some > 0) {
    MarkupItem& divided = pending.front();
    chunk.push_back({MarkupItem::Kind::text, 0, divided.offset, some});
    divided.offset += some;
    divided.length -= some;
  }
  size -= cut;
}

}  // namespace KQ::engines
