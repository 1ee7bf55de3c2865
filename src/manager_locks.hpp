#pragma once

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

namespace KQ {

class EngineLibraries;

/// The two locks of a manager. Taking either is refused, with a KQError of module
/// "TextToSpeechManager", in a process that was forked after the engines were loaded: a thread of the
/// parent may hold the lock, and the engines' threads are the parent's.

/// Holds the lock on operations.
///
/// A thread that holds such a lock is inside an operation, and events of an utterance come to it
/// there. So a thread that holds the same lock already is refused: it would wait for itself. A thread
/// that holds another manager's lock waits for a short time only and is then refused: the operation
/// that has the lock may be waiting, in the engine, for the utterance of this very thread.
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

/// Holds the lock on the tables, which is a leaf.
class TablesLock {
 public:
  TablesLock(const EngineLibraries& libraries, boost::mutex& mutex);

 private:
  const boost::lock_guard<boost::mutex> lock;
};

/// Frees a lock that a thread of the parent may hold, in a process that was forked.
void freeAfterFork(boost::mutex& mutex);

}  // namespace KQ
