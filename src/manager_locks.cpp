#include "manager_locks.hpp"

#include <chrono>
#include <kq/error.hpp>
#include <thread>

#include "engine_libraries.hpp"

namespace KQ {

namespace {

/// The lock that this thread took last. Every operation reads it, so its TLS model is one without a
/// function call.
[[gnu::tls_model("initial-exec")]] thread_local const OperationLock* innermost = nullptr;

/// The longest wait after which a host does not yet take its robot for dead.
constexpr std::chrono::seconds longestWait{1};
constexpr std::chrono::milliseconds pollInterval{1};

[[noreturn, gnu::cold]] void refuse(const char* method, const char* reason) {
  throw KQError("TextToSpeechManager", method, reason, nullptr, 0);
}

bool lockSoon(boost::mutex& mutex) {
  const auto end = std::chrono::steady_clock::now() + longestWait;
  while (!mutex.try_lock()) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(pollInterval);
  }
  return true;
}

}  // namespace

void refuseIfOfParent(const EngineLibraries& libraries, const char* method) {
  if (libraries.areOfParent()) {
    refuse(method,
           "The engines were loaded before this process was forked. Terminate the manager and "
           "initialize it anew.");
  }
}

OperationLock::OperationLock(const EngineLibraries& libraries, boost::mutex& mutex,
                             const char* method)
    : mutex(mutex), outer(innermost) {
  refuseIfOfParent(libraries, method);
  for (const OperationLock* held = outer; held != nullptr; held = held->outer) {
    if (&held->mutex == &mutex) {
      refuse(method,
             "This thread is inside an operation of the manager, which this one would wait for.");
    }
  }
  if (outer == nullptr) {
    mutex.lock();
  } else if (!lockSoon(mutex)) {
    refuse(method, "The manager is busy, perhaps with waiting for the utterance of this thread.");
  }
  innermost = this;
}

OperationLock::~OperationLock() {
  innermost = outer;
  mutex.unlock();
}

TablesLock::TablesLock(const EngineLibraries& libraries, boost::mutex& mutex)
    : lock((refuseIfOfParent(libraries, "xGetEngine"), mutex)) {}

void freeAfterFork(boost::mutex& mutex) {
  static_cast<void>(mutex.try_lock());
  mutex.unlock();
}

}  // namespace KQ
