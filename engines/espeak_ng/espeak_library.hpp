#pragma once

#include <espeak-ng/espeak_ng.h>

#include <string>

#include "engine/turn_queue.hpp"
#include "espeak_ng/espeak_text.hpp"

namespace KQ::engines {

/// The name by which engine, errors and logs call it.
inline constexpr const char* espeakName = "eSpeak NG";

/// A use of eSpeak NG, which exists once in a process: the first use loads it, the end of the last
/// one unloads it. May be used from several threads at once.
class EspeakLibrary {
 public:
  /// \throws KQError when its data cannot be loaded
  EspeakLibrary();
  ~EspeakLibrary();
  EspeakLibrary(const EspeakLibrary&) = delete;
  EspeakLibrary& operator=(const EspeakLibrary&) = delete;

  /// In Hz.
  int samplingRate() const;

  /// The file of a voice, which its name, its language or the file itself stands for, with a
  /// variant behind a plus sign, or "" if there is none: "fr-fr+f2" is "roa/fr+f2".
  std::string voiceFile(const std::string& name) const;
};

/// The sole right to speak with eSpeak NG. Needs an EspeakLibrary as long as it lives.
class EspeakTurn {
 public:
  /// Waits until it is granted or the utterance is stopped.
  /// \throws KQError when this thread has the right already
  explicit EspeakTurn(const Utterance& utterance);

  /// Lets waiting turns see that their utterance was stopped.
  static void wakeWaiting();

  /// \name What only the holder of a granted turn may call
  /// @{

  /// Sets voice and parameters, as far as they are not set already.
  /// \throws KQError when the voice cannot be loaded
  void apply(const std::string& voiceFile, const EspeakParameters& parameters);

  /// What is spoken: gets the audio and the events of each buffer, and returns whether to go on.
  class Listener {
   public:
    virtual ~Listener() = default;
    virtual bool take(const short* samples, std::size_t count, const espeak_EVENT* events) = 0;
  };

  /// Speaks one text, with a sentence's pause behind it, and returns whether it came to its end.
  /// \throws KQError when eSpeak NG cannot go on
  bool speak(const EspeakText& text, Listener& listener);

  /// @}

 private:
  Turn turn;
};

}  // namespace KQ::engines
