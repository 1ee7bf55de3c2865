#include "log_handlers.hpp"

#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

#include "immortal.hpp"

namespace zu::log {

namespace {

struct Entry {
  Handler handler;
  int running = 0;    // threads that run or destroy the handler
  int heldUp = 0;     // those of them that wait in removeHandler()
  bool gone = false;  // no thread may enter it; the last thread that leaves destroys it
};

struct Registry {
  Registry() { holdMutexAtFork<Registry>(); }

  std::mutex mutex;  // guards the members below; not held while a handler runs or is destroyed
  std::condition_variable changed;
  std::map<int, Entry> entries;  // by id; an id is never used again
  int newest = 0;
};

Registry& registry() {
  return immortal<Registry>();
}

// One run of a handler in this thread. The lock is held at its begin and end, not in between.
class Visit {
 public:
  Visit(int visitedId, Entry& visited, std::unique_lock<std::mutex>& held)
      : id(visitedId), entry(visited), lock(held), outer(innermost) {
    ++entry.running;
    innermost = this;
    lock.unlock();
  }

  ~Visit() {
    lock.lock();
    if (entry.gone && entry.running == 1) {
      destroyHandler();
      registry().entries.erase(id);
    } else {
      --entry.running;
    }
    innermost = outer;
    registry().changed.notify_all();
  }

  Visit(const Visit&) = delete;
  Visit& operator=(const Visit&) = delete;

  static bool isInside(const Entry& entry) {
    const Visit* visit = innermost;
    while (visit != nullptr && &visit->entry != &entry) {
      visit = visit->outer;
    }
    return visit != nullptr;
  }

  static bool isInsideAny() { return innermost != nullptr; }

  static void holdUpAll(int change) {
    for (const Visit* visit = innermost; visit != nullptr; visit = visit->outer) {
      visit->entry.heldUp += change;
    }
    registry().changed.notify_all();
  }

 private:
  // Still a part of the run: the code of the destructor may be unmapped once removeHandler() has
  // returned.
  void destroyHandler() {
    Handler handler = std::exchange(entry.handler, nullptr);
    lock.unlock();
    handler = nullptr;
    lock.lock();
  }

  static thread_local Visit* innermost;

  const int id;
  Entry& entry;
  std::unique_lock<std::mutex>& lock;
  Visit* const outer;
};

thread_local Visit* Visit::innermost = nullptr;

void showTo(const Handler& handler, const Record& record) {
  try {
    handler(record);
  } catch (...) {  // NOLINT(bugprone-empty-catch): a handler's failure is not the caller's
  }
}

}  // namespace

void showToHandlers(const Record& record) {
  Registry& all = registry();
  std::unique_lock<std::mutex> lock(all.mutex);
  const int last = all.newest;
  auto next = all.entries.begin();
  while (next != all.entries.end() && next->first <= last) {
    auto& [id, entry] = *next;
    const int current = id;
    if (!entry.gone && !Visit::isInside(entry)) {
      const Visit visit(id, entry, lock);
      showTo(entry.handler, record);
    }
    next = all.entries.upper_bound(current);
  }
}

int addHandler(Handler handler) {
  Registry& all = registry();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.entries[++all.newest].handler = std::move(handler);
  return all.newest;
}

void removeHandler(int id) {
  Registry& all = registry();
  std::unique_lock<std::mutex> lock(all.mutex);
  const auto found = all.entries.find(id);
  if (found == all.entries.end()) {
    return;
  }
  Entry& entry = found->second;
  entry.gone = true;
  if (Visit::isInside(entry)) {
    return;
  }
  if (entry.running == 0) {
    const Visit last(id, entry, lock);
    return;
  }
  // If handlers remove each other, each waits only while the others make progress.
  Visit::holdUpAll(1);
  all.changed.wait(lock, [id, &all] {
    const auto left = all.entries.find(id);
    return left == all.entries.end() ||
           (Visit::isInsideAny() && left->second.running == left->second.heldUp);
  });
  Visit::holdUpAll(-1);
}

}  // namespace zu::log
