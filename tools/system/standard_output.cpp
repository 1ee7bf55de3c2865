#include "system/standard_output.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "system/failure.hpp"

namespace tool {

namespace {

/// Opened for reading, so that writing to a stream that was closed is still an error.
void openClosedStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) == -1 && errno == EBADF) {
      static_cast<void>(open("/dev/null", O_RDONLY));
    }
  }
}

}  // namespace

StandardOutput::StandardOutput() {
  openClosedStandardStreams();
  file = FileDescriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  dup2(STDERR_FILENO, STDOUT_FILENO);
}

StandardOutput::~StandardOutput() {
  dup2(file.get(), STDOUT_FILENO);
}

void StandardOutput::write(const std::string& text) const {
  if (const int error = writeAll(file.get(), text.data(), text.size()); error != 0) {
    throw Failure(std::string("cannot write to standard output: ") + std::strerror(error),
                  "see where it leads");
  }
}

int writeAll(int fd, const void* data, std::size_t size) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(fd, next, size);
    if (written < 0 && errno != EINTR) {
      return errno;
    }
    if (written > 0) {
      next += written;
      size -= static_cast<std::size_t>(written);
    }
  }
  return 0;
}

}  // namespace tool
