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
  /// How long the word and everything up to the next word take to say, at normal speed.
  std::chrono::microseconds time{0};
};

/// Splits a text with inline tags into words, and estimates how long each takes to speak: a
/// fifteenth of a second for each character, and a quarter for each syllable or word sign of
/// Chinese, Japanese and Korean. White space separates words. Punctuation at the ends of a word
/// does not belong to it. Invalid UTF-8 and control characters count as white space.
class SilentWords {
 public:
  /// \param source  stays alive; only this object reads it
  explicit SilentWords(SpokenText& source) : source(source) {}

  /// Returns the next word or tag, or none at the end, and releases the text before it.
  std::optional<SilentItem> next();

 private:
  SilentItem readWord();
  bool hasMore();

  SpokenText& source;
  std::size_t position = 0;  ///< in the piece of text that is read
  std::size_t end = 0;       ///< of that piece
};

}  // namespace KQ::engines
