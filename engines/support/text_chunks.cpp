#include "support/text_chunks.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "support/utf8.hpp"

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

bool endsWith(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() &&
         text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}

/// How well a text may be cut between two parts, 0 for not at all. \param enough  more is not looked for
int cutQuality(std::string_view before, std::string_view after, int enough) {
  if (isUtf8Continuation(after.front())) {
    return 0;
  }
  // Most characters of a long text end here: none of the endings ends so.
  const char last = before.back();
  if (last > ' ' && last <= '~') {
    return withinWord;
  }
  for (const Ending& ending : endings) {
    if (ending.quality <= enough || (ending.text.back() == last && endsWith(before, ending.text))) {
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

std::optional<TextChunk> TextChunks::next() {
  if (finished) {
    return std::nullopt;
  }
  if (!pending.empty()) {
    text.release(pending.front().offset);
  }
  for (;; room = std::min(4 * room, longest)) {
    read();
    if (size <= room) {
      finished = true;
      return std::exchange(pending, {});
    }
    const std::size_t cut = bestCut();
    if (room == longest || isSureEnd(rest().substr(0, cut), rest().substr(cut))) {
      room = std::min(4 * room, longest);
      return take(cut);
    }
  }
}

/// Reads on until there is more than the room holds, or the text ends.
void TextChunks::read() {
  while (size <= room && !isRead) {
    if (const std::optional<MarkupItem> item = text.next()) {
      pending.push_back(*item);
      size += item->length;
    } else {
      isRead = true;
    }
  }
}

/// What is pending.
std::string_view TextChunks::rest() const {
  return text.view(pending.front().offset, size);
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
        const int quality = cutQuality(all.substr(0, cut), all.substr(cut), bestQuality);
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

/// What is pending, up to a place in it.
TextChunk TextChunks::take(std::size_t cut) {
  TextChunk chunk;
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
  return chunk;
}

}  // namespace KQ::engines
