#include "engine/turn_queue.hpp"

#include <kq/error.hpp>

namespace KQ::engines {

void TurnQueue::wakeWaiting() {
  const std::lock_guard<std::mutex> lock(mutex);
  wake();
}

void TurnQueue::wake() {
  if (!waiting.empty()) {
    changed.notify_all();
  }
}

Turn::Turn(TurnQueue& turnQueue, const std::function<bool()>& hasGivenUp) : queue(turnQueue) {
  std::unique_lock<std::mutex> lock(queue.mutex);
  if (queue.speaker == std::this_thread::get_id()) {
    throw KQError(queue.name, "startSynthetizer",
                  "An utterance cannot be started from an event of another one.", nullptr, 0);
  }
  const auto ticket = queue.waiting.insert(queue.nextTicket++).first;
  queue.changed.wait(lock, [&] {
    return hasGivenUp() || (queue.speaker == std::thread::id() && ticket == queue.waiting.begin());
  });
  queue.waiting.erase(ticket);
  isGranted = !hasGivenUp();
  if (isGranted) {
    queue.speaker = std::this_thread::get_id();
  } else {
    queue.wake();
  }
}

Turn::~Turn() {
  if (isGranted) {
    const std::lock_guard<std::mutex> lock(queue.mutex);
    queue.speaker = std::thread::id();
    queue.wake();
  }
}

}  // namespace KQ::engines
