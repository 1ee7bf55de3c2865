#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace KQ::isolation {

/// How an utterance goes on in the child.
enum class Course : std::uint8_t {
  speaking,
  stopped,  ///< the host stopped it
  refused,  ///< the host takes no more audio
  failed    ///< the host's callback threw
};

/// The utterances that the engine speaks. May be used by all threads.
class SpeechTable {
 public:
  /// One utterance: how far it is ahead of its host.
  struct Speech {
    std::uint64_t number = 0;
    Course course = Course::speaking;
    std::uint64_t samplesSent = 0;
    std::uint64_t samplesTaken = 0;
    std::uint64_t recordsSent = 0;
    std::uint64_t recordsTaken = 0;
  };

  void begin(std::uint64_t number);
  void end(std::uint64_t number);

  /// The only one that is spoken; 0 if there is none or are several.
  std::uint64_t onlyOne() const;

  /// Ends, for the host, all utterances up to this number, also those that begin later.
  void stopUpTo(std::uint64_t number);
  /// Ends one for the host.
  void cancel(std::uint64_t number, Course how);
  /// Tells how much of an utterance the host has taken in all.
  void taken(std::uint64_t number, std::uint64_t samples, std::uint64_t records);

  /// Waits until the host has taken so much that a record may be sent: with it, not more than
  /// `window` samples are ahead, and few records. Counts the record as sent.
  /// \return the course of the utterance; `stopped` for an unknown one
  Course awaitTurn(std::uint64_t number, std::uint64_t samples, std::uint64_t window);

  /// Waits until the host has taken all that was sent.
  Course awaitTaken(std::uint64_t number);

  /// Whether turns are given at once, so that nobody waits for the host while the engine ends.
  void releaseAll(bool isReleased);

  Course course(std::uint64_t number) const;

 private:
  /// With the mutex held.
  Speech* find(std::uint64_t number);

  mutable std::mutex mutex;
  std::condition_variable changed;
  std::map<std::uint64_t, Speech> speeches;
  std::uint64_t lastStopped = 0;
  bool isReleased = false;
};

}  // namespace KQ::isolation
