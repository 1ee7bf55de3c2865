#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "engine/synthesizer.hpp"
#include "espeak_ng/script_voices.hpp"
#include "text/prosody.hpp"
#include "text/text_chunks.hpp"

namespace KQ::engines {

/// The parameters of eSpeak NG for an utterance's settings and inline tags.
struct EspeakParameters {
  int rate;    ///< words a minute
  int pitch;   ///< 50 is the voice's own
  int range;   ///< of the pitch, 50 is the voice's own
  int volume;  ///< 100 is the voice's own

  explicit EspeakParameters(const SpeechSettings& settings, const Prosody& tags = {});
};

/// A chunk in the form that eSpeak NG reads.
struct EspeakText {
  /// A run of characters that come unchanged from the source.
  struct Run {
    std::size_t
        character;       ///< the number of the run's first character, as eSpeak NG counts, from 0
    std::size_t byte;    ///< its place in `text`
    std::size_t source;  ///< its place in the source
  };

  std::string text;           ///< UTF-8 without control characters other than white space
  bool isMarkup = false;      ///< if false, nothing in the text is markup
  bool changesVoice = false;  ///< parts of it are read by other voices
  bool isSilent = true;       ///< there is nothing to speak
  std::vector<MarkupItem>
      insertions;         ///< marks and pauses; a mark of eSpeak NG's names one by index
  std::vector<Run> runs;  ///< ascending, begins with character 0

  /// Empties the chunk and keeps its memory.
  void clear();
};

/// Turns the chunks of a text into the form that eSpeak NG reads: inline tags become markup, and
/// characters of markup are escaped. Marks and pauses become marks of eSpeak NG; several at one
/// place become one, with the number of the last.
class EspeakTextWriter {
 public:
  /// \param source     stays alive, as do the settings
  /// \param voiceFile    as EspeakLibrary::voiceFile() returns it
  /// \param otherVoices  finds voices for words in scripts that the voice does not read; null for
  /// none
  EspeakTextWriter(const SpokenText& source, const SpeechSettings& settings,
                   const std::string& voiceFile, ScriptVoices::Finder otherVoices = nullptr);

  /// \param written  gets the chunk; its former content is lost, its memory is used again
  void write(const TextChunk& chunk, EspeakText& written);

 private:
  bool needsMarkup(const TextChunk& chunk) const;
  template <typename Appender>
  void addInVoices(Appender& appender, std::string_view piece, std::size_t offset) const;
  std::string tagsFrom(const Prosody& former) const;
  std::string openingTag() const;

  const SpokenText& source;
  const SpeechSettings& settings;
  const std::string language;  ///< that the voice speaks, as eSpeak NG calls it
  const ScriptVoices voices;
  Prosody prosody;  ///< at the end of the written text
};

/// Maps the numbers of characters, as eSpeak NG counts them, to places in the source. Takes linear
/// time for ascending numbers.
class SourcePositions {
 public:
  /// \param text  stays alive and unchanged
  explicit SourcePositions(const EspeakText& text) : text(text), cursor(text.runs.front()) {}

  /// \param character  any number; one beyond the text means its end
  std::size_t offsetOf(std::size_t character);

 private:
  const EspeakText& text;
  EspeakText::Run cursor;
  std::size_t nextRun = 1;
};

}  // namespace KQ::engines
