#include "text/text_chunks.hpp"

#include <algorithm>
#include <utility>

#include "text/sentence_ends.hpp"

namespace KQ::engines {

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

/// Returns the pending text.
std::string_view TextChunks::rest() const {
  return text->view(pending.front().offset, size);
}

/// The last one of the best places in the second half of the room, in bytes.
std::size_t TextChunks::bestCut() const {
  const std::string_view all = rest();
  std::size_t best = room;
  CutQuality bestQuality = CutQuality::none;
  std::size_t end = size;
  for (auto item = pending.rbegin(); item != pending.rend() && end > room / 2; ++item) {
    const std::size_t begin = end - item->length;
    if (item->kind != MarkupItem::Kind::text) {
      if (end <= room && bestQuality < CutQuality::betweenWords) {
        best = end;
        bestQuality = CutQuality::betweenWords;
      }
    } else {
      for (std::size_t cut = std::min(end, room); cut > std::max(begin, room / 2); --cut) {
        const CutQuality quality = cutQuality(all, cut, bestQuality);
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
