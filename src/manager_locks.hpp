#pragma once

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

namespace KQ {

class EngineLibraries;

/// The two locks of a manager. In a process that was forked after the engines were loaded, taking
/// either throws a KQError of module "TextToSpeechManager": a thread of the parent may hold the
/// lock, and the engines' threads are in the parent.

/// Holds the lock on operations.
///
/// A thread that holds such a lock is inside an operation, and an utterance may call the host from
/// there. If the thread takes the same lock again, it would wait for itself, so the constructor
/// throws. If it takes another manager's lock, the constructor throws after a short time: the
/// operation that holds that lock may be waiting, in the engine, for this thread's own utterance.
class OperationLock {
 public:
  /// \param method  the operation, for the error
  OperationLock(const EngineLibraries& libraries, boost::mutex& mutex, const char* method);
  ~OperationLock();
  OperationLock(const OperationLock&) = delete;
  OperationLock& operator=(const OperationLock&) = delete;

 private:
  boost::mutex& mutex;
  const OperationLock* const outer;  ///< the lock that this thread took before, or null
};

/// Holds the lock on the tables. A thread that holds it takes no other lock.
class TablesLock {
 public:
  TablesLock(const EngineLibraries& libraries, boost::mutex& mutex);

 private:
  const boost::lock_guard<boost::mutex> lock;
};

/// \param method  the operation, for the error
/// \throws KQError in a process that was forked after the engines were loaded
void refuseIfOfParent(const EngineLibraries& libraries, const char* method);

/// In a forked process, frees a lock that a thread of the parent may hold.
void freeAfterFork(boost::mutex& mutex);

}  // namespace KQ
