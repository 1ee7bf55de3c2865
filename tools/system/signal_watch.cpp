#include "system/signal_watch.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <future>
#include <system_error>
#include <utility>

#include "system/standard_output.hpp"

namespace tool {

namespace {

constexpr int intervalMs = 20;
constexpr std::chrono::milliseconds patience(800);
constexpr std::chrono::milliseconds lastResortPatience(150);

sigset_t signalsNotIgnored() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction disposition {};
    sigaction(signal, nullptr, &disposition);
    if (disposition.sa_handler != SIG_IGN) {
      sigaddset(&signals, signal);
    }
  }
  return signals;
}

/// Waits an interval at most.
bool isReadable(int fd) {
  pollfd waited = {fd, POLLIN, 0};
  return poll(&waited, 1, intervalMs) > 0;
}

FileDescriptor checkedFile(int fd, const char* what) {
  if (fd < 0) {
    throw std::system_error(errno, std::generic_category(), what);
  }
  return FileDescriptor(fd);
}

}  // namespace

SignalWatch::SignalWatch(StopRequest& stopRequest)
    : stop(stopRequest), watched(signalsNotIgnored()) {
  pthread_sigmask(SIG_BLOCK, &watched, &maskBefore);
  signalFd = checkedFile(signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK), "signalfd");
  endFd = checkedFile(eventfd(0, EFD_CLOEXEC), "eventfd");
  thread = std::thread([this] { run(); });
}

SignalWatch::~SignalWatch() {
  const std::uint64_t one = 1;
  writeAll(endFd.get(), &one, sizeof one);
  thread.join();
  while (takeSignal() != 0) {
  }
  pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
}

void SignalWatch::run() {
  pollfd waited[] = {{endFd.get(), POLLIN, 0}, {signalFd.get(), POLLIN, 0}};
  while (!stop.made()) {
    poll(waited, 2, -1);
    if (waited[0].revents != 0) {
      return;
    }
    if (const int signal = takeSignal(); signal != 0) {
      stop.make(signal);
    }
  }
  const auto deadline = std::chrono::steady_clock::now() + patience;
  // A thread of its own, since an engine may hang in the action too.
  std::thread actions([this] { repeatAction(); });
  while (!isReadable(endFd.get())) {
    if (std::chrono::steady_clock::now() >= deadline) {
      endProcess();
    }
  }
  actions.join();
}

/// \return the signal that was waiting, or 0
int SignalWatch::takeSignal() {
  signalfd_siginfo taken{};
  const bool isTaken = read(signalFd.get(), &taken, sizeof taken) == sizeof taken;
  return isTaken ? static_cast<int>(taken.ssi_signo) : 0;
}

void SignalWatch::repeatAction() {
  do {
    const std::lock_guard<std::mutex> lock(actionMutex);
    if (action) {
      action();
    }
  } while (!isReadable(endFd.get()));
}

void SignalWatch::endProcess() {
  const std::lock_guard<std::mutex> lock(lastResortMutex);
  std::future<void> done;
  if (lastResort) {
    done = std::async(std::launch::async, lastResort);
    done.wait_for(lastResortPatience);
  }
  _exit(128 + stop.signal());
}

SignalWatch::Action::Action(SignalWatch& signalWatch, std::function<void()> stopAction)
    : watch(signalWatch) {
  const std::lock_guard<std::mutex> lock(watch.actionMutex);
  watch.action = std::move(stopAction);
}

SignalWatch::Action::~Action() {
  const std::lock_guard<std::mutex> lock(watch.actionMutex);
  watch.action = nullptr;
}

SignalWatch::LastResort::LastResort(SignalWatch& signalWatch, std::function<void()> function)
    : watch(signalWatch) {
  const std::lock_guard<std::mutex> lock(watch.lastResortMutex);
  watch.lastResort = std::move(function);
}

SignalWatch::LastResort::~LastResort() {
  const std::lock_guard<std::mutex> lock(watch.lastResortMutex);
  watch.lastResort = nullptr;
}

}  // namespace tool
