#pragma once

#include <cstddef>
#include <kq/speech_callback.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace KQ::engines {

/// A text in which parts were replaced, and where its words stand in the original.
class ReplacedText {
 public:
  /// \param original  stays alive and as it is until finish()
  explicit ReplacedText(std::string_view original) : original(original) {}

  /// Replaces a part of the original behind all that was replaced before.
  void replace(std::size_t offset, std::size_t length, std::string_view replacement);

  /// Takes over the rest of the original. The last call of those that make the text.
  void finish();

  bool isChanged() const { return !pieces.empty(); }

  const std::string& text() const { return written; }

  /// A word of the text where it stands in the original: one of a replacement stands for all that was
  /// replaced.
  SpeechWord inOriginal(const SpeechWord& word) const;

 private:
  /// A replacement.
  struct Piece {
    std::size_t offset;  ///< in the text
    std::size_t length;
    std::size_t originalOffset;
    std::size_t originalLength;
  };

  const Piece* lastPieceUpTo(std::size_t offset) const;

  std::string_view original;
  std::size_t taken = 0;  ///< bytes of the original that are in the text or replaced
  std::string written;
  std::vector<Piece> pieces;  ///< ascending
};

}  // namespace KQ::engines
