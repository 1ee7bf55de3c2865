#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace KQ::engines {

/// A stretch of a text, and what is spoken in its place.
struct Rewrite {
  std::size_t offset = 0;
  std::size_t length = 0;  ///< in bytes, more than 0
  std::string text;        ///< may be empty
};

/// Finds what a synthesiser does not read as it is written. Serves one utterance.
class TextRewriter {
 public:
  virtual ~TextRewriter() = default;

  /// The first stretch to be rewritten that begins in a range.
  /// \param text   the text, of any bytes, as far as it may be looked at: what stands before the
  ///               range and after it decides, too
  /// \param begin  of the range
  /// \param end    of the range; the stretch may end after it, but not after the text
  virtual std::optional<Rewrite> next(std::string_view text, std::size_t begin,
                                      std::size_t end) = 0;
};

/// A whole text as it is spoken.
std::string rewritten(TextRewriter& rewriter, std::string_view text);

}  // namespace KQ::engines
