#include "isolation/host/channel.hpp"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>

#include "isolation/protocol/encoding.hpp"

namespace KQ::isolation {

namespace {

/// More than a child that waits for its turn ever has waiting here.
constexpr std::size_t longestBacklog = std::size_t{24} * 1024 * 1024;

constexpr std::uint64_t longestReport = std::size_t{20} * 1024 * 1024;

/// How long a child may not read, whose threads do nothing else.
constexpr int sendMilliseconds = 30;

int millisecondsUntil(Clock::time_point deadline) {
  if (deadline == never) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, 3600000));
}

}  // namespace

Channel::Conversation::Conversation(Channel& owner) : channel(owner) {
  const Lock lock(channel.mutex);
  ownNumber = ++channel.lastNumber;
  channel.conversations[ownNumber] = this;
}

Channel::Conversation::~Conversation() {
  const Lock lock(channel.mutex);
  channel.conversations.erase(ownNumber);
  if (!channel.isReading) {
    channel.wakeOne();
  }
}

Channel::Got Channel::Conversation::await(Packet& packet, Clock::time_point deadline) {
  Lock lock(channel.mutex);
  while (waiting.empty()) {
    if (isNudged) {
      isNudged = false;
      return Got::nudge;
    }
    if (channel.closed) {
      return Got::end;
    }
    if (deadline != never && Clock::now() >= deadline) {
      if (!channel.isReading) {
        channel.wakeOne();
      }
      return Got::timeout;
    }
    if (!channel.isReading) {
      channel.read(lock, deadline);
    } else {
      isAsleep = true;
      if (deadline == never) {
        changed.wait(lock);
      } else {
        changed.wait_until(lock, deadline);
      }
      isAsleep = false;
    }
  }
  packet = std::move(waiting.front());
  waiting.pop_front();
  bytes -= packet.body.size();
  if (!channel.isReading) {
    channel.wakeOne();
  }
  return Got::packet;
}

void Channel::Conversation::awaitCondition(const std::function<bool()>& holds) {
  Lock lock(channel.mutex);
  if (!channel.isReading) {
    channel.wakeOne();
  }
  changed.wait(lock, holds);
  isNudged = false;
}

void Channel::Conversation::nudge() {
  const Lock lock(channel.mutex);
  isNudged = true;
  changed.notify_all();
}

Channel::Channel(int descriptor, std::function<void(const Packet&)> strayReports)
    : socket(descriptor), stray(std::move(strayReports)) {}

bool Channel::send(const Header& header, std::initializer_list<std::string_view> parts) const {
  for (;;) {
    switch (sendPacket(socket, header, parts, false)) {
      case Sent::done:
        return true;
      case Sent::closed:
        return false;
      case Sent::full:
        break;
    }
    pollfd waiting{socket, POLLOUT, 0};
    if (::poll(&waiting, 1, sendMilliseconds) <= 0) {
      return false;
    }
  }
}

void Channel::close() {
  const Lock lock(mutex);
  closed = true;
  wakeAll();
}

std::string Channel::complaint() const {
  const Lock lock(mutex);
  return reason;
}

void Channel::complain(const std::string& why) {
  const Lock lock(mutex);
  reason = why;
  closed = true;
  wakeAll();
}

void Channel::read(Lock& lock, Clock::time_point deadline) {
  isReading = true;
  lock.unlock();
  Packet packet;
  Received received = Received::nothing;
  std::string wrong;
  try {
    if (waitForPacket(socket, millisecondsUntil(deadline))) {
      received = receivePacket(socket, packet, longestReport, false);
    }
  } catch (const std::exception& error) {
    wrong = error.what();
  }
  lock.lock();
  isReading = false;
  if (!wrong.empty()) {
    reason = wrong;
    closed = true;
    wakeAll();
  } else if (received == Received::packet) {
    deliver(lock, std::move(packet));
  } else if (received == Received::closed) {
    closed = true;
    wakeAll();
  }
}

void Channel::deliver(Lock& lock, Packet&& packet) {
  if (packet.header.kind != Kind::report) {
    reason = "the host was called";
    closed = true;
    wakeAll();
    return;
  }
  const auto found = conversations.find(packet.header.number);
  if (found != conversations.end()) {
    Conversation& conversation = *found->second;
    conversation.bytes += packet.body.size();
    conversation.waiting.push_back(std::move(packet));
    conversation.changed.notify_all();
    if (conversation.bytes > longestBacklog) {
      reason = "more was reported than was asked for";
      closed = true;
      wakeAll();
    }
    return;
  }
  if (packet.header.number == 0) {
    lock.unlock();
    stray(packet);
    lock.lock();
  }
  // Otherwise it is late: the call was given up.
}

void Channel::wakeOne() {
  for (const auto& [number, conversation] : conversations) {
    if (conversation->isAsleep) {
      conversation->changed.notify_all();
      return;
    }
  }
}

void Channel::wakeAll() {
  for (const auto& [number, conversation] : conversations) {
    conversation->changed.notify_all();
  }
}

}  // namespace KQ::isolation
