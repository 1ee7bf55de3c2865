#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace KQ::engines {

/// The language of a voice's file: "hi" of "inc/hi-x+f2".
std::string languageOfVoice(const std::string& voiceFile);

/// Whether the voices of a language are safe with a character and read it.
/// \param language  as languageOfVoice() returns it
bool isRead(char32_t point, const std::string& language);

/// A part of a text that one voice reads.
struct VoiceRun {
  std::size_t begin;
  std::size_t end;
  std::string voiceFile;
};

/// Finds the voices for words in scripts that the voice of a text does not read.
class ScriptVoices {
 public:
  /// Returns the file of a voice, or "" if there is none.
  using Finder = std::function<std::string(const std::string&)>;

  /// \param voiceFile  of the text's voice; a variant of it ("+f2") goes for the others, too
  /// \param find       may be null: then the text's voice reads all of it
  ScriptVoices(std::string voiceFile, Finder find);

  /// Whether a text has words for another voice. Fast for ASCII and a voice that reads it.
  bool needsOthers(std::string_view text) const;

  /// The parts of a text, without gaps. Blanks and signs between two words go with the first one.
  std::vector<VoiceRun> runs(std::string_view text) const;

 private:
  std::string voiceFor(char32_t point) const;

  const std::string file;
  const std::string language;
  const std::string variant;
  const Finder find;
  const bool readsLatin;
};

}  // namespace KQ::engines
