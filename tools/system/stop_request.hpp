#pragma once

#include <atomic>

namespace tool {

/// The user's wish that everything stops: made at most once, seen by every thread, and it wakes who
/// waits for input or output.
class StopRequest {
 public:
  enum class Wait { ready, quiet, stopped };

  static constexpr int forever = -1;

  StopRequest();
  ~StopRequest();
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;

  /// \param signal  the signal that asked for it, not 0
  void make(int signal);

  bool made() const { return signal() != 0; }
  /// The signal that asked for it, 0 when none did.
  int signal() const { return signalNumber.load(std::memory_order_acquire); }

  /// Waits until a file descriptor can be read (POLLIN) or written (POLLOUT) without blocking.
  /// \param milliseconds  after these it is `quiet`
  /// \return `stopped` whenever a stop was requested
  Wait wait(int fd, short events, int milliseconds = forever) const;

 private:
  std::atomic<int> signalNumber{0};
  int wakeFd;  ///< readable once the request was made
};

}  // namespace tool
