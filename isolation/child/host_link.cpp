#include "isolation/child/host_link.hpp"

#include <unistd.h>

namespace KQ::isolation {

void HostLink::receive(Packet& packet) const {
  if (receivePacket(socket, packet, UINT64_MAX, true) != Received::packet) {
    _exit(0);
  }
  reports.load(std::memory_order_acquire);
}

void HostLink::report(std::string_view records, std::string_view more) const {
  reportOf(currentCall(), records, more);
}

void HostLink::reportOf(std::uint64_t number, std::string_view records,
                        std::string_view more) const {
  Header header;
  header.number = number;
  reports.fetch_add(1, std::memory_order_acq_rel);
  if (sendPacket(socket, header, {records, more}, true) != Sent::done) {
    _exit(0);
  }
}

std::uint64_t& HostLink::currentCall() {
  static thread_local std::uint64_t number = 0;
  return number;
}

}  // namespace KQ::isolation
