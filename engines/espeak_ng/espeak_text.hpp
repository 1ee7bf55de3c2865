#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "engine/synthesizer.hpp"
#include "text/prosody.hpp"
#include "text/text_chunks.hpp"

namespace KQ::engines {

/// What eSpeak NG's parameters are for these settings, with the percentages of inline tags on top.
struct EspeakParameters {
  int rate;    ///< words a minute
  int pitch;   ///< 50 is the voice's own
  int range;   ///< of the pitch, 50 is the voice's own
  int volume;  ///< 100 is the voice's own

  explicit EspeakParameters(const SpeechSettings& settings, const Prosody& tags = {});
};

/// The language of a voice's file: "hi" of "inc/hi-x+f2".
std::string languageOfVoice(const std::string& voiceFile);

/// A chunk in the form that eSpeak NG reads.
struct EspeakText {
  /// A run of characters that are the source's own.
  struct Run {
    std::size_t
        character;       ///< the number of the run's first character, as eSpeak NG counts, from 0
    std::size_t byte;    ///< its place in `text`
    std::size_t source;  ///< its place in the source
  };

  std::string text;       ///< UTF-8 without control characters other than white space
  bool isMarkup = false;  ///< if not, nothing in it is taken for markup
  bool isSilent = true;   ///< there is nothing to speak
  std::vector<MarkupItem>
      insertions;         ///< marks and pauses; a mark of eSpeak NG's names one by index
  std::vector<Run> runs;  ///< ascending, begins with character 0

  /// Empties it and keeps its memory.
  void clear();
};

/// Turns the chunks of a text into what eSpeak NG reads, one after another: inline tags become its
/// own markup, and what looks like that markup is escaped. Marks and pauses become marks of eSpeak
/// NG's; of several at one place only the last one stands there.
class EspeakTextWriter {
 public:
  /// \param source     stays alive, as do the settings
  /// \param voiceFile  of the voice that speaks
  EspeakTextWriter(const SpokenText& source, const SpeechSettings& settings,
                   const std::string& voiceFile);

  /// \param written  gets the chunk in place of what it held, in the same memory
  void write(const TextChunk& chunk, EspeakText& written);

 private:
  bool needsMarkup(const TextChunk& chunk) const;
  std::string tagsFrom(const Prosody& former) const;
  std::string openingTag() const;

  const SpokenText& source;
  const SpeechSettings& settings;
  std::string language;  ///< that the voice speaks, as eSpeak NG calls it, between blanks
  Prosody prosody;       ///< at the end of the written text
};

/// Finds where characters that eSpeak NG counts stand in the source, in linear time for ascending
/// numbers.
class SourcePositions {
 public:
  /// \param text  stays alive and as it is
  explicit SourcePositions(const EspeakText& text) : text(text), cursor(text.runs.front()) {}

  /// \param character  any number; what lies beyond the text stands for its end
  std::size_t offsetOf(std::size_t character);

 private:
  const EspeakText& text;
  EspeakText::Run cursor;
  std::size_t nextRun = 1;
};

}  // namespace KQ::engines
