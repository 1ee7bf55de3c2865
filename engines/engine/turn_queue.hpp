#pragma once

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "engine/utterance.hpp"

namespace KQ::engines {

/// Those who want to speak with what only one thread at a time can use. May be used from any thread.
class TurnQueue {
 public:
  /// \param name  of what is used: the module of errors
  explicit TurnQueue(std::string name) : name(std::move(name)) {}

  /// Lets waiting turns see that their utterance was stopped.
  void wakeWaiting();

 private:
  friend class Turn;

  /// With the mutex held.
  void wake();

  const std::string name;
  std::mutex mutex;
  std::condition_variable changed;
  std::thread::id speaker;               ///< guarded by mutex; none when nobody speaks
  unsigned long long nextTicket = 0;     ///< guarded by mutex
  std::set<unsigned long long> waiting;  ///< tickets; guarded by mutex
};

/// The sole right to speak. Whoever asks for it waits until all that asked before have finished or
/// given up.
class Turn {
 public:
  /// Waits until it is granted or the utterance is stopped. \param queue  outlives the turn
  /// \throws KQError when this thread has the right already
  Turn(TurnQueue& queue, const Utterance& utterance);
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  /// Only a granted turn may speak.
  bool isGranted() const { return granted; }

 private:
  TurnQueue& queue;
  bool granted = false;
};

}  // namespace KQ::engines
