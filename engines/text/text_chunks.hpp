#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "text/spoken_text.hpp"

namespace KQ::engines {

/// A stretch of a text that is spoken in one go.
using TextChunk = std::vector<MarkupItem>;

/// Cuts a text into chunks of some kilobytes, at the ends of paragraphs or sentences where it can,
/// so that neither the time nor the memory before the first sound depends on the length of the
/// text. The first chunks are shorter if they can be cut without being heard.
class TextChunks {
 public:
  TextChunks() = default;
  explicit TextChunks(SpokenText& text) { restart(text); }

  /// Begins with another text, and keeps the memory.
  /// \param text  stays alive; only this object reads it
  void restart(SpokenText& text);

  /// Returns the next chunk, or null after the last one, and releases the text before it. Valid
  /// until the next call. An empty text is one empty chunk.
  const TextChunk* next();

  /// No chunk is longer, in bytes.
  static constexpr std::size_t longest = 8192;

 private:
  static constexpr std::size_t firstLongest = 256;

  void read();
  std::size_t bestCut() const;
  void take(std::size_t cut);

  std::string_view rest() const;

  SpokenText* text = nullptr;
  TextChunk chunk;       ///< the one that was returned last
  TextChunk pending;     ///< was read, and is not in a chunk yet
  std::size_t size = 0;  ///< of the pending text, in bytes
  std::size_t room = firstLongest;
  bool isRead = false;  ///< to its end
  bool finished = true;
};

}  // namespace KQ::engines
