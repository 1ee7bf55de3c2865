#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace KQ::speaking {

/// Where a stretch of an engine's text comes from.
struct Origin {
  std::size_t engineOffset;  ///< first byte in the engine's text
  std::size_t engineLength;
  std::size_t textOffset;  ///< first byte in the text that was handed over
  std::size_t textLength;
  bool isVerbatim;  ///< the bytes are the same; otherwise the one stands for the other as a whole
};

/// A mark that the engine will report by its number.
struct SegmentMark {
  int number;
  std::string name;
  std::size_t textOffset;
};

/// What one start of an engine speaks: a sentence, or a part of one in one language and voice.
struct Segment {
  std::string text;             ///< for the engine, with its tags
  std::vector<Origin> origins;  ///< in order, none overlaps; tags have none
  std::vector<SegmentMark> marks;
  std::string language;       ///< as written; "" is that of the utterance
  std::string voice;          ///< "" is that of the utterance, or of the language
  std::string soundFile;      ///< unless "": a file that is played in place of a text
  std::size_t textBegin = 0;  ///< first byte in the text that was handed over
  std::size_t textEnd = 0;
  bool joinsPrevious = false;  ///< it goes on within the sentence of the one before
  bool joinsNext = false;      ///< the next one goes on within its sentence

  /// The bytes of the original text that a stretch of the engine's text stands for.
  struct Place {
    std::size_t offset;
    std::size_t length;
  };
  Place placeOf(std::size_t engineOffset, std::size_t engineLength) const;

  /// Cuts off what comes before a byte of the original text, settings excepted.
  void beginAt(std::size_t textOffset);

  /// How many bytes at the begin of `text` are settings that hold for all of it.
  std::size_t settingsLength = 0;
};

}  // namespace KQ::speaking
