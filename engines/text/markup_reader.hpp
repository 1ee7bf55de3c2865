#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace KQ::engines {

/// A piece of a text with inline tags.
struct MarkupItem {
  enum class Kind {
    text,    ///< to be spoken
    pause,   ///< value: milliseconds
    mark,    ///< value: the mark's number
    volume,  ///< value: 0 to 100, percent of the voice's level
    speed,   ///< value: 50 to 400, percent of the voice's speed
    pitch,   ///< value: 50 to 200, percent of the voice's pitch
    reset,   ///< back to the settings of the voice
    ignored  ///< a tag that changes nothing
  };

  Kind kind = Kind::text;
  int value = 0;
  std::size_t offset = 0;  ///< of its first byte in the text
  std::size_t length = 0;  ///< in bytes
};

/// Splits a text into what is spoken and inline tags, one after another, in linear time.
///
/// A tag is a backslash, a name, mostly "=" and a value, and a backslash: `\Pau=500\`. Names are
/// read without regard to case, and numbers out of range count as the nearest one in range. A pause
/// mark (`\mrkpause=MS\`, or `\mrk=N\` with a number that replaceMrkPause() makes of up to 32767
/// ms) is a mark and then a pause. Style tags and `\last\`, unknown tags and tags without a number
/// are ignored, and so is a tag that is not closed, up to the next white space. A backslash that
/// begins no tag belongs to the text. Every tag separates words. A long text comes in pieces, which
/// end behind white space if they can.
class MarkupReader {
 public:
  /// \param text  stays alive and as it is
  explicit MarkupReader(std::string_view text) : text(text) {}

  /// The next piece, or none at the end.
  std::optional<MarkupItem> next();

  /// Whether the last piece is text that goes on in the next one.
  bool textGoesOn() const { return isInText && position < text.size() && text[position] != '\\'; }

  /// No piece of text is longer, in bytes.
  static constexpr std::size_t longestText = 32768;

 private:
  std::string_view text;
  std::size_t position = 0;
  bool isInText = false;              ///< the last piece is text
  std::optional<MarkupItem> waiting;  ///< comes before what stands at `position`
};

}  // namespace KQ::engines
