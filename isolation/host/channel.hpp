#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "isolation/protocol/calls.hpp"
#include "isolation/protocol/messages.hpp"
#include "isolation/protocol/packet_socket.hpp"

namespace KQ::isolation {

using Clock = std::chrono::steady_clock;

inline constexpr Clock::time_point never = Clock::time_point::max();

/// The host's conversation with one child: numbers calls and hands each its reports. There is no
/// thread of its own: of the threads that wait for a report, one reads for all.
class Channel {
 public:
  enum class Got {
    packet,
    timeout,
    nudge,  ///< nothing came; what the caller waits for may have changed
    end     ///< nothing comes any more
  };

  /// One call that is under way.
  class Conversation {
   public:
    explicit Conversation(Channel& owner);
    ~Conversation();
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    std::uint64_t number() const { return ownNumber; }

    /// Waits for a report of this call.
    Got await(Packet& packet, Clock::time_point deadline);

    /// Waits until a condition holds, which nudge() has it look at.
    void awaitCondition(const std::function<bool()>& holds);

    /// Has await() return to look at things anew.
    void nudge();

   private:
    friend class Channel;

    Channel& channel;
    std::uint64_t ownNumber = 0;
    // Guarded by the channel's mutex.
    std::deque<Packet> waiting;
    std::size_t bytes = 0;
    bool isNudged = false;
    bool isAsleep = false;
    std::condition_variable changed;
  };

  /// \param socket  outlives the channel
  /// \param stray   takes reports that belong to no call; called by any thread that waits
  Channel(int socket, std::function<void(const Packet&)> stray);

  /// Sends a packet. Waits a moment when the child does not read.
  /// \return false when it is not read: the child hangs or is gone
  bool send(const Header& header, std::initializer_list<std::string_view> parts) const;

  /// Ends the conversation: whoever waits gets Got::end after what is there already.
  void close();
  bool isClosed() const { return closed; }

  /// Why the child is not to be believed; "" when it is.
  std::string complaint() const;

  /// Marks the child as one that is not to be believed, and ends the conversation.
  void complain(const std::string& reason);

 private:
  using Lock = std::unique_lock<std::mutex>;

  void read(Lock& lock, Clock::time_point deadline);
  void deliver(Lock& lock, Packet&& packet);
  void wakeOne();
  void wakeAll();

  const int socket;
  const std::function<void(const Packet&)> stray;
  std::atomic<bool> closed{false};

  mutable std::mutex mutex;  ///< of what follows
  std::map<std::uint64_t, Conversation*> conversations;
  std::uint64_t lastNumber = 0;
  bool isReading = false;
  std::string reason;
};

}  // namespace KQ::isolation
