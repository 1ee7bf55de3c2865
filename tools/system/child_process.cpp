#include "system/child_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "system/failure.hpp"
#include "system/file_descriptor.hpp"
#include "system/standard_output.hpp"

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int channelDescriptor = STDERR_FILENO + 1;
constexpr char finishedMark = '\0';  // in no message; only work that returned sends it
constexpr std::size_t maximumMessages = std::size_t{16} * 1024 * 1024;
constexpr std::size_t keptOutput = std::size_t{64} * 1024;

/// The longest delay in noticing the child's end if another process keeps its pipes open.
constexpr int tickMilliseconds = 5;

[[noreturn]] void failForLackOf(const char* what) {
  throw Failure(std::string("cannot make ") + what + ": " + std::strerror(errno),
                "end other programs, or raise the limits of this one");
}

struct Pipe {
  FileDescriptor reading;
  FileDescriptor writing;

  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      failForLackOf("a pipe");
    }
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
  }
};

struct Pipes {
  Pipe messages;
  Pipe output;
  Pipe errors;
};

// The child's side --------------------------------------------------------------------------------

/// Puts descriptors in their places and closes all others.
void arrangeDescriptors(const Pipes& pipes) {
  // Move all of them out of the way first, so that none is overwritten before it is in its place.
  const int input = open("/dev/null", O_RDONLY);
  const std::array<int, 4> wanted = {input, pipes.output.writing.get(), pipes.errors.writing.get(),
                                     pipes.messages.writing.get()};
  std::array<int, 4> away{};
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    away[i] = fcntl(wanted[i], F_DUPFD, channelDescriptor + 1);
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    dup2(away[i], static_cast<int>(i));
  }
  close_range(channelDescriptor + 1, ~0U, 0);
}

void dieWithParent(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(1);
  }
}

[[noreturn]] void beChild(const std::function<void(const ChildChannel&)>& work, const Pipes& pipes,
                          pid_t parent) {
  setpgid(0, 0);
  dieWithParent(parent);
  const rlimit noCore{};
  setrlimit(RLIMIT_CORE, &noCore);
  arrangeDescriptors(pipes);
  int status = 1;
  try {
    work(ChildChannel(channelDescriptor));
    writeAll(channelDescriptor, &finishedMark, 1);
    status = 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
  } catch (...) {
    std::cerr << "an unknown exception\n";
  }
  std::cout.flush();
  std::fflush(nullptr);
  _exit(status);
}

// The parent's side -------------------------------------------------------------------------------

/// The bytes that come out of one pipe.
class Capture {
 public:
  /// \param limit  beyond it the beginning is dropped, if `keepsEnd`, or else the end
  Capture(FileDescriptor reading, std::size_t size, bool lastPart)
      : fd(std::move(reading)), limit(size), keepsEnd(lastPart) {
    fcntl(fd.get(), F_SETFL, O_NONBLOCK);
  }

  /// Reads what is available.
  void drain() {
    std::array<char, 16 * 1024> buffer{};
    // Bounded, since a child that never stops writing must not keep the caller from its deadline.
    for (int round = 0; round < 64 && fd.get() >= 0; ++round) {
      const ssize_t count = read(fd.get(), buffer.data(), buffer.size());
      if (count > 0) {
        take(buffer.data(), static_cast<std::size_t>(count));
      } else if (count == 0) {
        fd = FileDescriptor();
      } else if (errno != EINTR) {
        return;
      }
    }
  }

  int descriptor() const { return fd.get(); }
  std::string text;

 private:
  void take(const char* bytes, std::size_t count) {
    text.append(bytes, count);
    if (text.size() <= limit) {
      return;
    }
    if (keepsEnd) {
      text.erase(0, text.size() - limit);
    } else {
      text.resize(limit);
    }
  }

  FileDescriptor fd;
  std::size_t limit;
  bool keepsEnd;
};

/// Whether the child has ended. Does not reap it, so that no other process gets its id.
bool hasEnded(pid_t child) {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
         info.si_pid == child;
}

int reap(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
  }
  return status;
}

using Captures = std::array<Capture, 3>;

/// Listens until the child has ended. \return whether it did so in time
bool listen(pid_t child, Captures& captures, Clock::time_point deadline) {
  while (!hasEnded(child)) {
    if (Clock::now() >= deadline) {
      return false;
    }
    std::array<pollfd, 3> waiting{};
    for (std::size_t i = 0; i < captures.size(); ++i) {
      waiting[i] = {captures[i].descriptor(), POLLIN, 0};
    }
    poll(waiting.data(), waiting.size(), tickMilliseconds);
    for (Capture& capture : captures) {
      capture.drain();
    }
  }
  return true;
}

void setEnd(ChildResult& result, int status, bool inTime) {
  using End = ChildResult::End;
  const bool marked = !result.messages.empty() && result.messages.back() == finishedMark;
  if (marked) {
    result.messages.pop_back();
  }
  if (!inTime) {
    result.end = End::hung;
  } else if (WIFSIGNALED(status)) {
    result.end = End::killed;
    result.number = WTERMSIG(status);
  } else {
    result.end = marked ? End::finished : End::exited;
    result.number = WEXITSTATUS(status);
  }
}

ChildResult beParent(pid_t child, Pipes pipes, std::chrono::milliseconds deadline) {
  setpgid(child, child);
  for (Pipe* pipe : {&pipes.messages, &pipes.output, &pipes.errors}) {
    pipe->writing = FileDescriptor();
  }
  Captures captures = {Capture(std::move(pipes.messages.reading), maximumMessages, false),
                       Capture(std::move(pipes.output.reading), keptOutput, true),
                       Capture(std::move(pipes.errors.reading), keptOutput, true)};
  const bool inTime = listen(child, captures, Clock::now() + deadline);
  for (const pid_t target : {-child, child}) {
    kill(target, SIGKILL);
  }
  const int status = reap(child);
  for (Capture& capture : captures) {
    capture.drain();
  }
  ChildResult result;
  result.messages = std::move(captures[0].text);
  result.output = std::move(captures[1].text);
  result.errors = std::move(captures[2].text);
  setEnd(result, status, inTime);
  return result;
}

}  // namespace

void ChildChannel::send(const std::string& message) const {
  const std::string line = message + '\n';
  writeAll(fd, line.data(), line.size());
}

std::string ChildResult::story() const {
  switch (end) {
    case End::finished:
      break;
    case End::exited:
      return "ended its process with status " + std::to_string(number);
    case End::killed:
      return "was ended by signal " + std::to_string(number) + " (" + strsignal(number) + ")";
    case End::hung:
      return "did not come back in time";
  }
  return "";
}

ChildResult runInChild(const std::function<void(const ChildChannel&)>& work,
                       std::chrono::milliseconds deadline) {
  Pipes pipes;
  std::cout.flush();
  std::fflush(nullptr);
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child == -1) {
    failForLackOf("a process");
  }
  if (child == 0) {
    beChild(work, pipes, parent);
  }
  return beParent(child, std::move(pipes), deadline);
}

}  // namespace tool
