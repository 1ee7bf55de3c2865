#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "segment.hpp"
#include "sentence_cutter.hpp"

namespace KQ::speaking {

/// Makes segments of what a reader finds in a text: words, tags, marks, changes of language.
///
/// A segment is a sentence, or what of it is of one language. Its text begins with the settings
/// that hold there, so that each segment stands alone.
class Segmenter {
 public:
  /// \param localeOf  the locale of a language as it was written; "" stands for the utterance's
  Segmenter(SentenceCutter& sentenceCutter,
            std::function<std::string(const std::string&)> localeOf);

  /// \name What a reader finds, in the order of the text
  /// @{

  /// Text to be spoken as it stands, from this place on.
  void addText(std::string_view text, std::size_t textOffset);
  /// Text to be spoken in place of a stretch of the original.
  void addReplacement(std::string text, std::size_t textOffset, std::size_t textLength);
  /// A tag that takes effect once, where it stands: a pause.
  void addTag(std::string tag);
  /// A mark. \param number  0 to have one given
  void addMark(std::string name, std::size_t textOffset, int number = 0);
  /// The settings, as tags, that hold from here on in place of the former ones. \param change  the
  /// tags that make these settings of the former ones, within a text
  void setSettings(const std::string& tags, const std::string& change);
  /// The language and voice from here on, as written; "" are the utterance's.
  void setVoice(const std::string& language, const std::string& voice);
  /// A sentence ends here, whatever its text says.
  void endSentence();
  /// A sound file is played here.
  void addSound(const std::string& file, std::size_t textOffset, std::size_t textLength);
  /// No more follows.
  void finish();

  /// @}

  /// The next segment that is complete.
  std::optional<Segment> next();

  /// Makes segments of the clauses of a sentence that is not complete yet.
  void cutAtClause();

 private:
  /// A piece of a stretch, which has one language and no end of a sentence that is known already.
  struct Part {
    enum class Kind { text, tag, mark, settings };
    Kind kind;
    std::string text;      ///< to be spoken, the tag, the mark's name, or the settings
    std::string change{};  ///< what makes these settings of the former ones
    std::size_t textOffset = 0;
    std::size_t textLength = 0;
    bool isVerbatim = false;
    int number = 0;
  };

  void cutSentences(bool isWhole);
  void closeStretch(bool endsSentence);
  void makeSegment(std::size_t length, bool endsSentence);
  bool hasWords() const;
  std::vector<Part> takeParts(std::size_t length);
  static Part splitOff(Part& part, std::size_t length);
  void append(const Part& part, Segment& segment);

  SentenceCutter& cutter;
  std::function<std::string(const std::string&)> localeOf;
  std::deque<Part> parts;
  std::string spoken;        ///< the text of the parts, for the cutter
  std::string settings;      ///< that hold at the begin of `parts`
  std::string lastSettings;  ///< that hold at the end of `parts`
  std::string language;
  std::string voice;
  bool goesOn = false;  ///< the segment made last ends within a sentence
  std::deque<Segment> complete;
};

}  // namespace KQ::speaking
