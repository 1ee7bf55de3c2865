#pragma once

#include <espeak-ng/espeak_ng.h>

#include <string>

#include "engine/turn_queue.hpp"
#include "espeak_ng/espeak_text.hpp"

namespace KQ::engines {

/// The synthesiser's name in the engine, errors and logs.
inline constexpr const char* espeakName = "eSpeak NG";
inline constexpr const char* espeakLogCategory = "engine.espeak-ng";

/// The voice for a text, and how it is to sound.
struct EspeakVoice {
  std::string file;  ///< as EspeakLibrary::voiceFile() returns it
  EspeakParameters parameters;
};

/// Receives the audio and the events of a text while it is spoken.
class EspeakListener {
 public:
  virtual ~EspeakListener() = default;

  /// \param samples  one buffer, mono
  /// \param events   those of the buffer; the last one is espeakEVENT_LIST_TERMINATED
  /// \return whether to go on
  virtual bool take(const short* samples, std::size_t count, const espeak_EVENT* events) = 0;
};

/// A use of eSpeak NG, which exists once in a process: the first use loads it, the end of the last
/// one unloads it. May be used from several threads at once.
class EspeakLibrary {
 public:
  /// \throws KQError when the data of eSpeak NG cannot be loaded
  EspeakLibrary();
  ~EspeakLibrary();
  EspeakLibrary(const EspeakLibrary&) = delete;
  EspeakLibrary& operator=(const EspeakLibrary&) = delete;

  /// In Hz; the same for all voices.
  int samplingRate() const;

  /// Returns the file of a voice, or "" if there is no such voice.
  /// \param name  the voice's name, its language or the file itself, optionally followed by a plus
  ///              sign and a variant: "fr-fr+f2" gives "roa/fr+f2"
  std::string voiceFile(const std::string& name) const;

  /// The queue for the right to speak: eSpeak NG speaks one text at a time.
  static TurnQueue& turns();

  /// Speaks a text and a sentence's pause after it, until the listener wants no more. The caller
  /// holds a turn.
  /// \return whether the text was spoken to its end
  /// \throws KQError when the voice cannot be loaded or eSpeak NG gives up
  bool speak(const EspeakText& text, const EspeakVoice& voice, EspeakListener& listener) const;
};

}  // namespace KQ::engines
