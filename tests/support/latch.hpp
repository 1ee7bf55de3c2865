#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace test {

/// Opens once; whoever waits goes on then.
class Latch {
 public:
  void open() {
    const std::lock_guard<std::mutex> lock(mutex);
    opened = true;
    changed.notify_all();
  }

  /// \return false when it did not open within a time in which any machine would have done it
  bool wait() const { return waitFor(std::chrono::seconds(60)); }

  /// For what must not happen: the longer the time, the surer it is noticed.
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

/// Opens a latch when it goes, so that a failed assertion leaves nobody waiting.
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
