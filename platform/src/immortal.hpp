#pragma once

#include <pthread.h>

namespace zu {

/// The process's only T, created at the first use. It is never destroyed, so static destructors and
/// threads that outlive main() can use it.
template <typename T>
T& immortal() {
  static T& instance = *new T;
  return instance;
}

/// Call this in the constructor of an immortal T. fork() then waits for the T's `mutex`, so that a
/// child process never inherits it locked.
template <typename T>
void holdMutexAtFork() {
  constexpr auto lock = [] { immortal<T>().mutex.lock(); };
  constexpr auto unlock = [] { immortal<T>().mutex.unlock(); };
  pthread_atfork(lock, unlock, unlock);
}

}  // namespace zu
