#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace KQ::engines {

/// A part of a text, and its replacement.
struct Rewrite {
  std::size_t offset = 0;
  std::size_t length = 0;  ///< in bytes, more than 0
  std::string text;        ///< spoken instead; may be empty
};

/// Finds text that a synthesiser would not read correctly, and rewrites it. Serves one utterance.
class TextRewriter {
 public:
  virtual ~TextRewriter() = default;

  /// Returns the first part to be rewritten that begins in a range.
  /// \param text   the text, of any bytes; the text before and after the range matters, too
  /// \param begin  of the range
  /// \param end    of the range; the part may end after it, but not after the text
  virtual std::optional<Rewrite> next(std::string_view text, std::size_t begin,
                                      std::size_t end) = 0;
};

/// Returns a whole text with all replacements.
std::string rewritten(TextRewriter& rewriter, std::string_view text);

}  // namespace KQ::engines
