#pragma once

#include <sys/types.h>

#include <mutex>
#include <string>
#include <vector>

namespace KQ::isolation {

/// The process of one engine, and the host's end of its socket. May be used by several threads.
class ChildProcess {
 public:
  /// Starts the program. It inherits its end of the socket and standard error, nothing else.
  /// \param environment  NAME=VALUE
  /// \throws std::system_error when it cannot be started
  ChildProcess(const std::string& program, const std::vector<std::string>& environment);
  /// Ends it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  int socket() const { return hostEnd; }

  /// Whether this process started it: not so in a process that was forked since.
  bool isOurs() const;

  /// Ends it at once. Whoever waits at the socket sees its end.
  void kill();

  /// Waits until it has ended by itself, not longer than so; for one whose socket is closed.
  /// \return whether it has ended
  bool awaitEnd(int milliseconds);

  /// How it ended: "was ended by signal 11 (Segmentation fault)". After kill() or its own end.
  std::string describeEnd();

 private:
  /// With the mutex held. \return whether it has ended
  bool reap();

  std::mutex mutex;  ///< of what follows
  pid_t pid = -1;
  bool hasEnded = false;
  bool isStatusKnown = false;
  int status = 0;

  int hostEnd = -1;
  pid_t owner;
};

}  // namespace KQ::isolation
