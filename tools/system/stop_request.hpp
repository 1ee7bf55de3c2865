#pragma once

#include <atomic>

#include "system/file_descriptor.hpp"

namespace tool {

/// A request by the user to stop everything. It is made at most once, every thread sees it, and it
/// wakes threads that wait in wait().
class StopRequest {
 public:
  enum class Wait { ready, quiet, stopped };

  static constexpr int forever = -1;

  StopRequest();
  ~StopRequest() = default;
  StopRequest(const StopRequest&) = delete;
  StopRequest& operator=(const StopRequest&) = delete;

  /// \param signal  the signal that requested it, not 0
  void make(int signal);

  bool made() const { return signal() != 0; }
  /// The signal that requested it, 0 if none did.
  int signal() const { return signalNumber.load(std::memory_order_acquire); }

  /// Waits until a file descriptor can be read (POLLIN) or written (POLLOUT) without blocking.
  /// \param milliseconds  the longest time to wait; after that it returns `quiet`
  /// \return `stopped` if a stop was requested
  Wait wait(int fd, short events, int milliseconds = forever) const;

 private:
  std::atomic<int> signalNumber{0};
  FileDescriptor wakeFd;  ///< readable once the request was made
};

}  // namespace tool
