#include "isolation/host/child_process.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <system_error>
#include <thread>

namespace KQ::isolation {

namespace {

constexpr int childSocket = 3;

void require(int error, const char* what) {
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), what);
  }
}

/// What the child is started with.
class SpawnSettings {
 public:
  explicit SpawnSettings(int childEnd) {
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    require(posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0),
            "preparing standard input");
    // What an engine prints must not get into the host's output, which may be audio.
    require(posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO),
            "preparing standard output");
    require(posix_spawn_file_actions_adddup2(&files, childEnd, childSocket), "passing the socket");
    require(posix_spawn_file_actions_addclosefrom_np(&files, childSocket + 1), "closing files");
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    // A group of its own, so that what is typed at the host's terminal does not end it.
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t files{};
  posix_spawnattr_t attributes{};
};

class OwnDescriptor {
 public:
  explicit OwnDescriptor(int descriptor) : number(descriptor) {}
  ~OwnDescriptor() { ::close(number); }
  OwnDescriptor(const OwnDescriptor&) = delete;
  OwnDescriptor& operator=(const OwnDescriptor&) = delete;

  const int number;
};

pid_t spawn(const std::string& program, const std::vector<std::string>& environment, int childEnd) {
  // Above the place that it gets, since a descriptor is not passed on by copying it to itself.
  const OwnDescriptor passed(::fcntl(childEnd, F_DUPFD_CLOEXEC, childSocket + 1));
  require(passed.number < 0 ? errno : 0, "passing the socket");
  const SpawnSettings settings(passed.number);
  std::vector<char*> variables;
  variables.reserve(environment.size() + 1);
  for (const std::string& variable : environment) {
    variables.push_back(const_cast<char*>(variable.c_str()));
  }
  variables.push_back(nullptr);
  std::array<char*, 2> arguments{const_cast<char*>(program.c_str()), nullptr};
  pid_t pid = -1;
  require(posix_spawn(&pid, program.c_str(), &settings.files, &settings.attributes,
                      arguments.data(), variables.data()),
          program.c_str());
  return pid;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& environment)
    : owner(::getpid()) {
  std::array<int, 2> ends{};
  require(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0 ? 0 : errno,
          "making a socket pair");
  hostEnd = ends[0];
  const OwnDescriptor childEnd(ends[1]);
  try {
    pid = spawn(program, environment, childEnd.number);
  } catch (...) {
    ::close(hostEnd);
    throw;
  }
}

ChildProcess::~ChildProcess() {
  if (isOurs()) {
    kill();
    // It is dying. Whoever cannot die, being in the hands of a device, is left to the system.
    awaitEnd(1000);
  }
  ::close(hostEnd);
}

bool ChildProcess::isOurs() const {
  return ::getpid() == owner;
}

void ChildProcess::kill() {
  const std::lock_guard<std::mutex> lock(mutex);
  if (!hasEnded && !reap()) {
    ::kill(pid, SIGKILL);
  }
  ::shutdown(hostEnd, SHUT_RDWR);
}

bool ChildProcess::reap() {
  const pid_t result = ::waitpid(pid, &status, WNOHANG);
  // Without a result when the host waits for all its children, or for none.
  hasEnded = hasEnded || result == pid || (result < 0 && errno == ECHILD);
  isStatusKnown = isStatusKnown || result == pid;
  return hasEnded;
}

bool ChildProcess::awaitEnd(int milliseconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  for (auto pause = std::chrono::microseconds(50);;
       pause = std::min(pause * 2, decltype(pause)(2000))) {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (hasEnded || reap()) {
        return true;
      }
    }
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(pause);
  }
}

std::string ChildProcess::describeEnd() {
  if (!awaitEnd(200)) {
    kill();
    awaitEnd(1000);
  }
  const std::lock_guard<std::mutex> lock(mutex);
  if (!isStatusKnown) {
    return "ended";
  }
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    const char* const description = ::sigdescr_np(signal);
    return "was ended by signal " + std::to_string(signal) + " (" +
           (description != nullptr ? description : "unknown") + ")";
  }
  return "exited with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace KQ::isolation
