#include "system/stop_request.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include "system/standard_output.hpp"

namespace tool {

StopRequest::StopRequest() : wakeFd(eventfd(0, EFD_CLOEXEC)) {
  if (wakeFd.get() < 0) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
}

void StopRequest::make(int signal) {
  int none = 0;
  if (!signalNumber.compare_exchange_strong(none, signal)) {
    return;
  }
  const std::uint64_t one = 1;
  writeAll(wakeFd.get(), &one, sizeof one);
}

StopRequest::Wait StopRequest::wait(int fd, short events, int milliseconds) const {
  pollfd waited[] = {{wakeFd.get(), POLLIN, 0}, {fd, events, 0}};
  int count = 0;
  do {
    count = poll(waited, 2, milliseconds);
  } while (count < 0 && errno == EINTR);
  if (made()) {
    return Wait::stopped;
  }
  return count == 0 ? Wait::quiet : Wait::ready;
}

}  // namespace tool
