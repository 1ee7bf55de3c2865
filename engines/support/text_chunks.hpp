#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "support/spoken_text.hpp"

namespace KQ::engines {

/// A stretch of a text that is spoken in one go.
using TextChunk = std::vector<MarkupItem>;

/// Cuts a text into chunks of some kilobytes, at the ends of paragraphs or sentences where it can,
/// so that neither the time nor the memory before the first sound depends on the length of the
/// text. The first ones are shorter, where a cut is not heard.
class TextChunks {
 public:
  /// \param text  stays alive; is read by nobody else
  explicit TextChunks(SpokenText& text) : text(text) {}

  /// The next chunk, and the text before it is released; none behind the last one. An empty text is
  /// one empty chunk.
  std::optional<TextChunk> next();

  /// No chunk is longer, in bytes.
  static constexpr std::size_t longest = 8192;

 private:
  static constexpr std::size_t firstLongest = 256;

  void read();
  std::size_t bestCut() const;
  TextChunk take(std::size_t cut);

  std::string_view rest() const;

  SpokenText& text;
  TextChunk pending;     ///< was read, and is in no chunk yet
  std::size_t size = 0;  ///< of what is pending, in bytes
  std::size_t room = firstLongest;
  bool isRead = false;  ///< to its end
  bool finished = false;
};

}  // namespace KQ::engines
