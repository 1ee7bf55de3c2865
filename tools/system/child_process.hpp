#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace tool {

/// Through this, work in a child process sends messages to its parent.
class ChildChannel {
 public:
  explicit ChildChannel(int descriptor) : fd(descriptor) {}

  /// Sends a message and an end of line. It arrives even if the child crashes right afterwards.
  /// \param message  without an end of line
  void send(const std::string& message) const;

 private:
  int fd;
};

/// The result of work in a child process.
struct ChildResult {
  enum class End {
    finished,  ///< the work returned
    exited,    ///< the process ended itself: by exit(), or by an exception of the work
    killed,    ///< a signal ended it
    hung       ///< the deadline passed, and the child was killed
  };

  End end = End::hung;
  int number = 0;        ///< the exit status or the signal
  std::string messages;  ///< all messages, one a line
  std::string output;    ///< on standard output, the last 64 KiB of it
  std::string errors;    ///< on standard error, likewise

  /// "was ended by signal 11 (Segmentation fault)"; "" if the work finished.
  std::string story() const;
};

/// Runs work in a child process, so that it can neither harm nor block this one.
///
/// The child is a copy of the calling process with the calling thread only, so call this while no
/// other thread runs. Its standard input is empty, its output is captured, it has no other open
/// files and leaves no core file. Processes that it started end with it.
/// \throws Failure if no child can be created
ChildResult runInChild(const std::function<void(const ChildChannel&)>& work,
                       std::chrono::milliseconds deadline);

}  // namespace tool
