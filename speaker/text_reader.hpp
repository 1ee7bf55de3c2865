#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "segment.hpp"

namespace KQ::speaking {

class SentenceCutter;

/// What readers need to know of the utterance and of the engines.
struct ReadingContext {
  SentenceCutter* cutter = nullptr;
  float rate = 1;  ///< factors that hold for the whole utterance, in range
  float pitch = 1;
  bool detectsLanguages = true;
  /// The locale of a language, as written; "" is that of the utterance.
  std::function<std::string(const std::string& language)> localeOf;
  /// Whether there is a voice for a language.
  std::function<bool(const std::string& language)> canSpeak;
};

/// The tags that set rate, pitch and level, as factors; "" for those that are 1.
std::string settingTags(float rate, float pitch, float volume = 1);

/// Makes segments of a text that comes in pieces, as soon as they are complete.
class TextReader {
 public:
  TextReader() = default;
  virtual ~TextReader() = default;
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;

  /// More of the text, of any size.
  virtual void add(std::string_view piece) = 0;
  /// There is no more.
  virtual void finish() = 0;
  /// The next segment, or none until more of the text is there.
  /// \throws KQError for a text that cannot be read
  virtual std::optional<Segment> next() = 0;
  /// What is there is not to wait for more, up to the last end of a clause.
  virtual void cutAtClause() = 0;
};

/// Reads UTF-8 with inline tags.
std::unique_ptr<TextReader> makePlainReader(ReadingContext context);

/// Reads UTF-8 and names each character.
std::unique_ptr<TextReader> makeCharacterReader(ReadingContext context);

/// Reads SSML 1.1.
std::unique_ptr<TextReader> makeSsmlReader(ReadingContext context);

}  // namespace KQ::speaking
