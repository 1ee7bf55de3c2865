#include "support/text_chunks.hpp"

#include <algorithm>
#include <array>

#include "support/utf8.hpp"

namespace KQ::engines {

namespace {

bool endsWithAny(std::string_view text, const std::vector<std::string_view>& endings) {
  return std::any_of(endings.begin(), endings.end(), [&](std::string_view ending) {
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
  });
}

/// How well a text may be cut between two parts, 0 for not at all.
int cutQuality(std::string_view before, std::string_view after) {
  static const std::vector<std::string_view> paragraphEnds{"\n\n", "\n\r\n"};
  static const std::vector<std::string_view> sentenceEnds{"! ", "? ", "\n", "。", "！", "？", "؟ "};
  static const std::vector<std::string_view> likelySentenceEnds{". ", "; ", ": ", "।"};
  static const std::vector<std::string_view> clauseEnds{", ", "、", "，", "،"};
  static const std::vector<std::string_view> wordEnds{" ", "\t"};
  const std::array<const std::vector<std::string_view>*, 5> fromWorst{
      &wordEnds, &clauseEnds, &likelySentenceEnds, &sentenceEnds, &paragraphEnds};
  if (isUtf8Continuation(after.front())) {
    return 0;
  }
  int quality = 1;
  for (std::size_t i = 0; i < fromWorst.size(); ++i) {
    if (endsWithAny(before, *fromWorst[i])) {
      quality = static_cast<int>(i) + 2;
    }
  }
  return quality;
}

/// The best place to cut a text that is longer than `room`: the last one of the best ones in the
/// second half of the room.
std::size_t bestCut(std::string_view text, std::size_t room) {
  std::size_t best = room;
  int bestQuality = 0;
  for (std::size_t cut = room; cut > room / 2; --cut) {
    const int quality = cutQuality(text.substr(0, cut), text.substr(cut));
    if (quality > bestQuality) {
      best = cut;
      bestQuality = quality;
    }
  }
  return best;
}

}  // namespace

TextChunks::TextChunks(std::string_view wholeText)
    : text(wholeText), reader(wholeText), pending(reader.next()) {}

std::optional<TextChunk> TextChunks::next() {
  if (finished) {
    return std::nullopt;
  }
  TextChunk chunk;
  std::size_t room = longest;
  while (pending && pending->length <= room) {
    room -= pending->length;
    chunk.push_back(*pending);
    pending = reader.next();
  }
  if (pending && pending->kind == MarkupItem::Kind::text && room >= longest / 2) {
    const std::size_t cut = bestCut(text.substr(pending->offset, pending->length), room);
    chunk.push_back({MarkupItem::Kind::text, 0, pending->offset, cut});
    pending->offset += cut;
    pending->length -= cut;
  }
  finished = !pending;
  return chunk;
}

}  // namespace KQ::engines
