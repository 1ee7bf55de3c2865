#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace test {

/// Opens once, and then releases all threads that wait for it.
class Latch {
 public:
  void open() {
    const std::lock_guard<std::mutex> lock(mutex);
    opened = true;
    changed.notify_all();
  }

  /// \return false if it did not open within a minute, which is enough on any machine
  bool wait() const { return waitFor(std::chrono::seconds(60)); }

  /// For events that must not happen: a longer time notices them more reliably.
  /// \return whether it opened in that time
  bool waitFor(std::chrono::milliseconds time) const {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, time, [this] { return opened; });
  }

 private:
  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  bool opened = false;
};

/// Opens a latch when it is destroyed, so that no thread still waits after a failed assertion.
class OpenAtEnd {
 public:
  explicit OpenAtEnd(Latch& latchToOpen) : latch(latchToOpen) {}
  ~OpenAtEnd() { latch.open(); }
  OpenAtEnd(const OpenAtEnd&) = delete;
  OpenAtEnd& operator=(const OpenAtEnd&) = delete;

 private:
  Latch& latch;
};

}  // namespace test
