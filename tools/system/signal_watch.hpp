#pragma once

#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

#include "system/file_descriptor.hpp"
#include "system/stop_request.hpp"

namespace tool {

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP; not those that the program
/// was started to ignore) into a stop request. A second one ends the program at once when it still
/// runs a second after the first.
///
/// Made before any other thread, since a thread inherits which signals it leaves to this one.
class SignalWatch {
 public:
  explicit SignalWatch(StopRequest& stop);
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  /// While it lives, a stop request runs an action in the watch's thread, and again every few
  /// milliseconds: what is to be stopped may have begun only after the first time.
  class Action {
   public:
    Action(SignalWatch& watch, std::function<void()> action);
    ~Action();
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

   private:
    SignalWatch& watch;
  };

 private:
  void run();
  int takeSignal();
  void runAction();

  StopRequest& stop;
  sigset_t watched;
  sigset_t maskBefore;
  FileDescriptor signalFd;
  FileDescriptor endFd;  ///< readable when the thread is to end

  std::mutex actionMutex;
  std::function<void()> action;  ///< guarded by actionMutex

  std::thread thread;
};

}  // namespace tool
