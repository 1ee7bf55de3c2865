#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/turn_queue.hpp"
#include "flite/flite_text.hpp"

namespace KQ::engines {

/// The synthesiser's name in the engine, errors and logs.
inline constexpr const char* fliteName = "Flite";

/// The voice for a phrase, and how it is to sound.
struct FliteVoice {
  std::string name;
  float speed = 100;  ///< percent of the voice's own, without that of the words
  float pitch = 1;    ///< factor to the voice's own
};

/// A sound of a phrase.
struct FlitePhone {
  const char* name;   ///< as Flite names it
  std::size_t place;  ///< where it begins in the audio, in samples
};

/// The places of the parts of a phrase in its audio, in samples.
struct FlitePlaces {
  std::vector<std::size_t> tokens;  ///< where each word begins, in ascending order
  std::vector<FlitePhone> phones;   ///< in ascending order
  std::size_t speechBegin = 0;      ///< where the silence before the phrase ends
  std::size_t speechEnd = 0;        ///< where the silence after the phrase begins
};

/// Receives the audio of a phrase while it is spoken.
class FliteListener {
 public:
  virtual ~FliteListener() = default;

  /// Called once, before any audio.
  virtual void begin(const FlitePlaces& places) noexcept = 0;

  /// \return whether to go on
  virtual bool take(const std::int16_t* samples, std::size_t count) noexcept = 0;
};

/// A use of Flite, whose voices exist once in a process: the first speech with a voice registers
/// it, and the end of the last use releases all. May be used from several threads at once.
class FliteLibrary {
 public:
  FliteLibrary();
  ~FliteLibrary();
  FliteLibrary(const FliteLibrary&) = delete;
  FliteLibrary& operator=(const FliteLibrary&) = delete;

  /// Whether there is a voice of that name: "slt".
  bool hasVoice(const std::string& name) const;

  /// The sampling rate of an existing voice, in Hz.
  int samplingRate(const std::string& voice) const;

  /// The queue for the right to speak: Flite counts uses of shared data without a lock.
  static TurnQueue& turns();

  /// Speaks a phrase that has words, until the listener wants no more. The caller holds a turn.
  /// \throws KQError if Flite gives up
  void speak(const FlitePhrase& phrase, const FliteVoice& voice, FliteListener& listener) const;
};

}  // namespace KQ::engines
