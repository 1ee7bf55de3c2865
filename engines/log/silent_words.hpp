#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>

#include "text/spoken_text.hpp"

namespace KQ::engines {

/// A word of a text, or a tag.
struct SilentItem {
  MarkupItem tag;          ///< of kind text for a word
  std::size_t offset = 0;  ///< of the word in the text, in bytes
  std::size_t length = 0;  ///< of the word in the text, in bytes; 0 if there is only punctuation
  /// How long it takes to say the word, and what stands behind it up to the next one, at normal
  /// speed.
  std::chrono::microseconds time{0};
};

/// Splits a text with inline tags into words, of which it says how long they would take to speak: a
/// fifteenth of a second for each character, and a quarter for one that stands for a syllable or a
/// word, as those of Chinese, Japanese and Korean do. Words stand between white space, without the
/// punctuation at their ends; bytes that are no UTF-8, and control characters, count as white
/// space.
class SilentWords {
 public:
  /// \param source  stays alive; is read by nobody else
  explicit SilentWords(SpokenText& source) : source(source) {}

  /// The next word or tag, and the text before it is released; or none at the end.
  std::optional<SilentItem> next();

 private:
  SilentItem readWord();
  bool hasMore();

  SpokenText& source;
  std::size_t position = 0;  ///< in the piece of text that is read
  std::size_t end = 0;       ///< of that piece
};

}  // namespace KQ::engines
