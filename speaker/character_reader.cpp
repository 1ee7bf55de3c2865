#include <string>

#include "segmenter.hpp"
#include "text_reader.hpp"
#include "utf8.hpp"

namespace KQ::speaking {

namespace {

/// How long a blank is, when spelling.
constexpr const char* blankPause = "\\Pau=300\\";

class CharacterReader : public TextReader {
 public:
  explicit CharacterReader(const ReadingContext& context)
      : segmenter(*context.cutter, context.localeOf) {
    const std::string settings = settingTags(context.rate, context.pitch);
    segmenter.setSettings(settings, settings);
  }

  void add(std::string_view piece) override {
    input += piece;
    spell(input.size() - incompleteAtEnd(input));
  }

  void finish() override {
    spell(input.size());
    segmenter.finish();
  }

  std::optional<Segment> next() override { return segmenter.next(); }

  void cutAtClause() override { segmenter.cutAtClause(); }

 private:
  /// Each character stands alone, so that engines name it.
  void spell(std::size_t length) {
    std::size_t at = 0;
    while (at < length) {
      const Character character = characterAt(input, at);
      const std::string letter = input.substr(at, character.length);
      if (character.length == 1 && letter.find_first_of(" \t\n\v\f\r") == 0) {
        segmenter.addTag(blankPause);
      } else {
        segmenter.addReplacement(letter + ", ", offset + at, character.length);
      }
      if (++count % perSegment == 0) {
        segmenter.endSentence();
      }
      at += character.length;
    }
    input.erase(0, at);
    offset += at;
  }

  static constexpr std::size_t perSegment = 32;

  Segmenter segmenter;
  std::string input;
  std::size_t offset = 0;  ///< of `input` in the text
  std::size_t count = 0;
};

}  // namespace

std::unique_ptr<TextReader> makeCharacterReader(ReadingContext context) {
  return std::make_unique<CharacterReader>(context);
}

}  // namespace KQ::speaking
