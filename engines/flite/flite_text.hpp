#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/prosody.hpp"
#include "text/spoken_text.hpp"

namespace KQ::engines {

/// A word of the text in ASCII, as Flite reads it, and what comes before it.
struct FliteToken {
  std::string before;                  ///< opening punctuation
  std::string name;                    ///< the word; may be empty
  std::string after;                   ///< closing punctuation
  std::size_t offset = 0;              ///< of the word in the text, in bytes
  std::size_t length = 0;              ///< of the word in the text, in bytes
  int blanks = 0;                      ///< before it
  int lineFeeds = 0;                   ///< among them
  Prosody prosody;                     ///< as inline tags set it
  std::vector<MarkupItem> insertions;  ///< marks and pauses before it
};

/// A sentence or a part of one, which Flite speaks in one go.
struct FlitePhrase {
  std::vector<FliteToken> tokens;
  bool continues = false;              ///< the sentence began before
  bool isContinued = false;            ///< the sentence goes on after it
  std::vector<MarkupItem> insertions;  ///< marks and pauses at the end of the text
};

/// Reads the words of a text with inline tags, in linear time. Words are short, whatever the text.
class FliteTokenReader {
 public:
  /// \param source  stays alive; only this object reads it
  explicit FliteTokenReader(SpokenText& source) : source(source) {}

  /// Returns the next word, or punctuation without a word, or none at the end. In a long stretch
  /// without words it returns empty tokens now and then.
  std::optional<FliteToken> next();

  /// Returns the marks and pauses since the last word, and forgets them.
  std::vector<MarkupItem> takeInsertions();

 private:
  /// A letter of a character's form in ASCII, and the place of the character.
  struct Letter {
    char ascii;
    std::size_t begin;
    std::size_t end;
  };

  void readMarkup(const MarkupItem& item);
  void readCharacter();
  bool readLetter();
  FliteToken take();

  SpokenText& source;
  std::size_t position = 0;  ///< in the piece of text that is read
  std::size_t end = 0;       ///< of that piece
  std::string letters;       ///< of the current character that were not read, in reverse order
  std::size_t begin = 0;     ///< of that character
  std::vector<Letter> word;
  std::size_t spelled = 0;             ///< letters at its end that may be spoken one by one
  int blanks = 0;                      ///< since the last word
  int lineFeeds = 0;                   ///< among them
  FliteToken settings;                 ///< prosody and blanks of the next word
  std::vector<MarkupItem> insertions;  ///< before the next word
};

/// Cuts a text with inline tags into phrases, so short that the time to the first sound does not
/// depend on the text's length.
class FliteText {
 public:
  /// \param source  stays alive; only this object reads it
  explicit FliteText(SpokenText& source) : source(source), reader(source), pending(reader.next()) {}

  /// Returns the next phrase, which may be empty, or none at the end. Releases the text before it.
  std::optional<FlitePhrase> next();

 private:
  bool endsPhrase(const std::vector<FliteToken>& tokens);

  SpokenText& source;
  FliteTokenReader reader;
  std::optional<FliteToken> pending;  ///< the next word
  std::size_t words = 0;              ///< of the phrase, as many as may be spoken
  bool isContinued = false;           ///< by the next phrase
  bool finished = false;
};

}  // namespace KQ::engines
