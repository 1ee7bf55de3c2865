#pragma once

#include <array>
#include <cstddef>
#include <kqtts/speaker.hpp>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace KQ::speaking {

using Entry = std::shared_ptr<UtteranceRecord>;

/// An utterance that an arrival ends.
struct Ended {
  Entry utterance;
  UtteranceEnd why;
};

/// What happens when an utterance arrives.
struct Arrival {
  std::vector<Ended> ended;  ///< those that waited, the one that is spoken, or the arrival itself
  bool suspendsCurrent = false;  ///< the one that is spoken goes back to the queue
};

/// The utterances that wait, and the table of docs/speaker.md. Knows neither threads nor engines.
/// Each operation takes the same time, however many wait.
class UtteranceQueue {
 public:
  /// Takes in an utterance, unless the table refuses it.
  /// \param current  what is being spoken; may be null. It is not in the queue.
  Arrival add(const Entry& arriving, const Entry& current);

  /// Puts back what was being spoken; it is the next one of its priority.
  void putBack(const Entry& interrupted);

  /// Takes out the one that is to be spoken next, or null.
  Entry takeNext();

  /// Takes out one that waits.
  void remove(const Entry& waiting);

  /// An utterance has ended: another may have its key.
  void forgetKeyOf(const Entry& ended);

  /// All that wait, in the order in which they would be spoken.
  std::vector<Entry> all() const;

  std::size_t size() const { return count; }

 private:
  static constexpr std::size_t priorities = 5;
  using Waiting = std::list<Entry>;

  Waiting& waitingOf(const Entry& utterance);
  void replaceByKey(const Entry& arriving, const Entry& current, Arrival& arrival);
  bool isRefused(SpeechPriority arriving, const Entry& current) const;
  void endWaiting(const Entry& arriving, std::size_t priority, Arrival& arrival);
  static void treatCurrent(const Entry& arriving, const Entry& current, Arrival& arrival);

  std::array<Waiting, priorities> waiting;
  std::unordered_map<std::string, Entry> byKey;  ///< the live utterance of each key
  std::size_t count = 0;
};

}  // namespace KQ::speaking
