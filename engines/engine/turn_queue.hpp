#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace KQ::engines {

/// Threads waiting for a synthesiser that serves one at a time. May be used from any thread.
class TurnQueue {
 public:
  /// \param name  of the synthesiser: the module of errors
  explicit TurnQueue(std::string name) : name(std::move(name)) {}

  /// Makes the waiting threads check again whether they gave up.
  void wakeWaiting();

 private:
  friend class Turn;

  /// The caller holds the mutex.
  void wake();

  const std::string name;
  std::mutex mutex;
  std::condition_variable changed;
  std::thread::id speaker;               ///< guarded by mutex; none when nobody speaks
  unsigned long long nextTicket = 0;     ///< guarded by mutex
  std::set<unsigned long long> waiting;  ///< tickets; guarded by mutex
};

/// The right to speak, which one thread at a time has. Turns are granted in the order of their
/// construction.
class Turn {
 public:
  /// Waits until all earlier turns have ended, or until `hasGivenUp` returns true: the thread must
  /// not speak then.
  /// \param queue       outlives the turn
  /// \param hasGivenUp  called with the queue locked, again after each TurnQueue::wakeWaiting()
  /// \throws KQError when this thread has the right already
  Turn(TurnQueue& queue, const std::function<bool()>& hasGivenUp);
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  TurnQueue& queue;
  bool isGranted = false;
};

}  // namespace KQ::engines
