#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/prosody.hpp"
#include "text/spoken_text.hpp"

namespace KQ::engines {

/// A word of the text as Flite reads it, in ASCII, with what stands before it.
struct FliteToken {
  std::string before;                  ///< opening punctuation
  std::string name;                    ///< the word; empty if there is none
  std::string after;                   ///< closing punctuation
  std::size_t offset = 0;              ///< of the word in the text, in bytes; all before was read
  std::size_t length = 0;              ///< of the word in the text, in bytes
  int blanks = 0;                      ///< in front of it
  int lineFeeds = 0;                   ///< among them
  Prosody prosody;                     ///< as inline tags set it
  std::vector<MarkupItem> insertions;  ///< marks and pauses in front of it
};

/// What Flite speaks in one go: a sentence, or a part of one.
struct FlitePhrase {
  std::vector<FliteToken> tokens;
  bool continues = false;              ///< the sentence began before
  bool isContinued = false;            ///< the sentence goes on behind it
  std::vector<MarkupItem> insertions;  ///< marks and pauses behind it, at the end of the text
};

/// Reads the words of a text with inline tags, in linear time. Words are short, whatever the text.
class FliteTokenReader {
 public:
  /// \param source  stays alive; is read by nobody else
  explicit FliteTokenReader(SpokenText& source) : source(source) {}

  /// The next word, or punctuation that belongs to none. One without both comes now and then where
  /// there are no words for long.
  std::optional<FliteToken> next();

  /// The marks and pauses that no word follows.
  std::vector<MarkupItem> takeInsertions();

 private:
  /// A character's form in ASCII, and where it stands.
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
  std::string letters;       ///< of the character that is read, the last one first
  std::size_t begin = 0;     ///< of that character
  std::vector<Letter> word;
  int blanks = 0;                      ///< since the last word
  int lineFeeds = 0;                   ///< among them
  FliteToken settings;                 ///< those of the next word
  std::vector<MarkupItem> insertions;  ///< in front of the next word
};

/// Cuts a text with inline tags into phrases, so short that the time to the first sound does not
/// depend on the text's length.
class FliteText {
 public:
  /// \param source  stays alive; is read by nobody else
  explicit FliteText(SpokenText& source) : source(source), reader(source), pending(reader.next()) {}

  /// The next phrase, and the text before it is released; which may be empty, or none at the end.
  std::optional<FlitePhrase> next();

 private:
  bool endsPhrase(const std::vector<FliteToken>& tokens);

  SpokenText& source;
  FliteTokenReader reader;
  std::optional<FliteToken> pending;  ///< the next word
  bool isContinued = false;           ///< by the next phrase
  bool finished = false;
};

}  // namespace KQ::engines
