#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "support/markup_reader.hpp"

namespace KQ::engines {

/// A stretch of a text that is spoken in one go.
using TextChunk = std::vector<MarkupItem>;

/// Cuts a text into chunks of some kilobytes, at the ends of paragraphs or sentences where it can,
/// so that neither the time nor the memory before the first sound depends on the length of the
/// text.
class TextChunks {
 public:
  /// \param text  stays alive and as it is
  explicit TextChunks(std::string_view text);

  /// The next chunk; none behind the last one. An empty text is one empty chunk.
  std::optional<TextChunk> next();

  /// No chunk is longer, in bytes.
  static constexpr std::size_t longest = 8192;

 private:
  std::string_view text;
  MarkupReader reader;
  std::optional<MarkupItem> pending;  ///< the next item
  bool finished = false;
};

}  // namespace KQ::engines
