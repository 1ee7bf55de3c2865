#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/turn_queue.hpp"
#include "flite/flite_text.hpp"

namespace KQ::engines {

/// The name by which engine, errors and logs call it.
inline constexpr const char* fliteName = "Flite";

/// The voice for a phrase, and how it is to sound.
struct FliteVoice {
  std::string name;
  float speed = 100;  ///< percent of the voice's own, without that of the words
  float pitch = 1;    ///< factor to the voice's own
};

/// Where the parts of a phrase stand in its audio, in samples.
struct FlitePlaces {
  std::vector<std::size_t> tokens;  ///< where each word begins, in ascending order
  std::size_t speechBegin = 0;      ///< where the silence before the phrase ends
  std::size_t speechEnd = 0;        ///< where the silence behind it begins
};

/// Gets the audio of a phrase while it is spoken.
class FliteListener {
 public:
  virtual ~FliteListener() = default;

  /// Comes once, before any audio.
  virtual void begin(const FlitePlaces& places) noexcept = 0;

  /// \return whether to go on
  virtual bool take(const std::int16_t* samples, std::size_t count) noexcept = 0;
};

/// A use of Flite, whose voices exist once in a process: each is registered where it is spoken with for
/// the first time, and the end of the last use releases them. May be used from several threads at once.
class FliteLibrary {
 public:
  FliteLibrary();
  ~FliteLibrary();
  FliteLibrary(const FliteLibrary&) = delete;
  FliteLibrary& operator=(const FliteLibrary&) = delete;

  /// Whether there is a voice of that name: "slt".
  bool hasVoice(const std::string& name) const;

  /// Of a voice that there is, in Hz.
  int samplingRate(const std::string& voice) const;

  /// Those who speak: Flite counts the uses of what its voices share without a lock.
  static TurnQueue& turns();

  /// Speaks a phrase that has words, until the listener wants no more. The holder of a turn calls it.
  /// \throws KQError when Flite gives up
  void speak(const FlitePhrase& phrase, const FliteVoice& voice, FliteListener& listener) const;
};

}  // namespace KQ::engines
