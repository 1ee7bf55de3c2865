#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "isolation/protocol/packet_socket.hpp"

namespace KQ::isolation {

/// The child's end of the socket. May be used by all threads. The process ends at once when the
/// host is gone: nobody is left to serve.
class HostLink {
 public:
  explicit HostLink(int descriptor) : socket(descriptor) {}

  /// Waits for a packet.
  void receive(Packet& packet) const;

  /// Sends records of the call that this thread serves, or of `number`.
  void report(std::string_view records, std::string_view more = {}) const;
  void reportOf(std::uint64_t number, std::string_view records, std::string_view more = {}) const;

  /// The call that this thread serves; 0 for none.
  static std::uint64_t& currentCall();

 private:
  int socket;
  /// What the host does in between orders the calls of several threads; this shows it to them.
  mutable std::atomic<std::uint64_t> reports{0};
};

}  // namespace KQ::isolation
