#pragma once

#include <pthread.h>

namespace zu {

/// The process's one T, made at the first use. It is never destroyed, so that it serves static
/// destructors and threads that outlive main().
template <typename T>
T& immortal() {
  static T& instance = *new T;
  return instance;
}

/// To be called by the constructor of an immortal T: a child process does not inherit the T's `mutex`
/// while another thread holds it.
template <typename T>
void holdMutexAtFork() {
  constexpr auto lock = [] { immortal<T>().mutex.lock(); };
  constexpr auto unlock = [] { immortal<T>().mutex.unlock(); };
  pthread_atfork(lock, unlock, unlock);
}

}  // namespace zu
