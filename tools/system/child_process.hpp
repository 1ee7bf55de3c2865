#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace tool {

/// Where work in a child process tells its parent what it finds, as it finds it.
class ChildChannel {
 public:
  explicit ChildChannel(int descriptor) : fd(descriptor) {}

  /// Sends a message, followed by an end of line. It arrives even if the child comes to grief right
  /// after. \param message  without an end of line
  void send(const std::string& message) const;

 private:
  int fd;
};

/// What came of work in a child process.
struct ChildResult {
  enum class End {
    finished,  ///< the work returned
    exited,    ///< the process was ended from within: by exit(), or by an exception of the work
    killed,    ///< by a signal
    hung       ///< the deadline was over; the child was killed
  };

  End end = End::hung;
  int number = 0;        ///< the exit status or the signal
  std::string messages;  ///< all that was sent, line by line
  std::string output;    ///< on standard output, the last 64 KiB of it
  std::string errors;    ///< on standard error, likewise

  /// "was ended by signal 11 (Segmentation fault)"; "" when the work finished.
  std::string story() const;
};

/// Runs work in a child process, so that whatever it calls can neither harm nor stop this one.
///
/// The child begins as a copy of the calling process with the calling thread alone: call this while
/// no other thread runs. It reads from nowhere, writes to this function only, has no other open
/// files and leaves no core file. Processes that it started go with it.
/// \throws Failure when no child can be made
ChildResult runInChild(const std::function<void(const ChildChannel&)>& work,
                       std::chrono::milliseconds deadline);

}  // namespace tool
