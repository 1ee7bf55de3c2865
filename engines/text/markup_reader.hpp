#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace KQ::engines {

/// A piece of a text with inline tags: a stretch of text or one tag.
struct MarkupItem {
  enum class Kind {
    text,  ///< to be spoken
#define KQTTS_INLINE_TAG(kind, name, form, lowest, highest) kind,
#include "text/inline_tags.inc"
#undef KQTTS_INLINE_TAG
    ignored  ///< a tag that changes nothing: it is unknown, not closed, or lacks its number
  };

  Kind kind = Kind::text;
  int value = 0;           ///< of a tag with a number
  std::size_t offset = 0;  ///< of its first byte in the text
  std::size_t length = 0;  ///< in bytes
};

/// Splits a text into what is spoken and inline tags, one after another, in linear time.
///
/// A tag is a backslash, a name, mostly "=" and a value, and a backslash: `\Pau=500\`. Names are
/// read without regard to case; text/inline_tags.inc lists them with the range of their numbers. A
/// pause mark (`\mrkpause=MS\`, or `\mrk=N\` with a number that replaceMrkPause() makes of up to
/// 32767 ms) becomes a mark and then a pause. A tag that is not closed ends at the next white space
/// and is ignored. A backslash that begins no tag belongs to the text. Every tag separates words. A
/// long text comes in pieces, which end after white space if possible.
class MarkupReader {
 public:
  /// \param text  stays alive and unchanged
  explicit MarkupReader(std::string_view text) : text(text) {}

  /// Returns the next piece, or none at the end.
  std::optional<MarkupItem> next();

  /// Whether the piece returned last is text that goes on in the next one.
  bool textGoesOn() const { return isInText && position < text.size() && text[position] != '\\'; }

  /// The longest piece of text, in bytes.
  static constexpr std::size_t longestText = 32768;

 private:
  std::string_view text;
  std::size_t position = 0;
  bool isInText = false;              ///< the last piece is text
  std::optional<MarkupItem> waiting;  ///< comes before the item at `position`
};

}  // namespace KQ::engines
