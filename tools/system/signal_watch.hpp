#pragma once

#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

#include "system/file_descriptor.hpp"
#include "system/stop_request.hpp"

namespace tool {

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) into a stop request.
/// Signals that the program was started to ignore stay ignored. If the watch still exists 0.8
/// seconds after the first signal, whatever the other threads hang in, it ends the process with
/// status 128 + signal.
///
/// Create it before any other thread, since threads inherit the set of blocked signals.
class SignalWatch {
 public:
  explicit SignalWatch(StopRequest& stop);
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  /// While this object lives, a stop request runs an action in a thread of the watch. The action
  /// runs again every few milliseconds, since what it stops may begin only after its first run.
  class Action {
   public:
    Action(SignalWatch& watch, std::function<void()> action);
    ~Action();
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

   private:
    SignalWatch& watch;
  };

  /// While this object lives, the watch calls a function before it ends the process. The process
  /// ends even if the function does not return within 0.15 seconds.
  class LastResort {
   public:
    LastResort(SignalWatch& watch, std::function<void()> lastResort);
    ~LastResort();
    LastResort(const LastResort&) = delete;
    LastResort& operator=(const LastResort&) = delete;

   private:
    SignalWatch& watch;
  };

 private:
  void run();
  int takeSignal();
  void repeatAction();
  [[noreturn]] void endProcess();

  StopRequest& stop;
  sigset_t watched;
  sigset_t maskBefore;
  FileDescriptor signalFd;
  FileDescriptor endFd;  ///< readable when the thread shall end

  std::mutex actionMutex;
  std::function<void()> action;  ///< guarded by actionMutex

  std::mutex lastResortMutex;
  std::function<void()> lastResort;  ///< guarded by lastResortMutex

  std::thread thread;
};

}  // namespace tool
