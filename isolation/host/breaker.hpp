#pragma once

#include <chrono>
#include <mutex>

namespace KQ::isolation {

/// Decides when an engine that dies again and again is given up for a while. May be used by several
/// threads.
class Breaker {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Deaths without a whole sentence spoken between them that open it.
  static constexpr int deathsAllowed = 5;

  /// Whether the engine is given up at this time.
  bool isOpen(Time now) const {
    const std::lock_guard<std::mutex> lock(mutex);
    return deaths >= deathsAllowed && now < retryAt;
  }

  /// Until when it is given up.
  Time nextTry() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return retryAt;
  }

  /// A death. From the fifth on, the engine is given up for 1 s, 2 s, 4 s ... 30 s.
  void noteDeath(Time now) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (++deaths >= deathsAllowed) {
      retryAt = now + pause;
      pause = std::min(pause * 2, std::chrono::seconds(30));
    }
  }

  /// A whole sentence was spoken: the engine works.
  void noteSentence() {
    const std::lock_guard<std::mutex> lock(mutex);
    deaths = 0;
    pause = std::chrono::seconds(1);
  }

 private:
  mutable std::mutex mutex;  ///< of what follows
  int deaths = 0;
  std::chrono::seconds pause{1};
  Time retryAt{};
};

}  // namespace KQ::isolation
