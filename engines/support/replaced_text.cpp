#include "support/replaced_text.hpp"

#include <algorithm>

namespace KQ::engines {

void ReplacedText::replace(std::size_t offset, std::size_t length, std::string_view replacement) {
  written += original.substr(taken, offset - taken);
  pieces.push_back({written.size(), replacement.size(), offset, length});
  written += replacement;
  taken = offset + length;
}

void ReplacedText::finish() {
  written += original.substr(taken);
  taken = original.size();
}

SpeechWord ReplacedText::inOriginal(const SpeechWord& word) const {
  const auto moved = [](const Piece* piece, std::size_t offset) {
    return piece == nullptr ? offset
                            : offset - (piece->offset + piece->length) + piece->originalOffset +
                                  piece->originalLength;
  };
  const std::size_t end = word.textOffset + word.textLength;
  const Piece* const first = lastPieceUpTo(word.textOffset);
  const Piece* const last = end == 0 ? nullptr : lastPieceUpTo(end - 1);
  const bool beginsInside = first != nullptr && word.textOffset < first->offset + first->length;
  const bool endsInside = last != nullptr && end < last->offset + last->length;
  const std::size_t originalBegin =
      beginsInside ? first->originalOffset : moved(first, word.textOffset);
  const std::size_t originalEnd =
      endsInside ? last->originalOffset + last->originalLength : moved(last, end);
  return {originalBegin, originalEnd - originalBegin, word.samplePosition};
}

/// The last piece that begins there or before, or null.
const ReplacedText::Piece* ReplacedText::lastPieceUpTo(std::size_t offset) const {
  const auto after =
      std::upper_bound(pieces.begin(), pieces.end(), offset,
                       [](std::size_t place, const Piece& piece) { return place < piece.offset; });
  return after == pieces.begin() ? nullptr : &*std::prev(after);
}

}  // namespace KQ::engines
