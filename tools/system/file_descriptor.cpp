#include "system/file_descriptor.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "system/failure.hpp"

namespace tool {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  std::swap(fd, other.fd);
  return *this;
}

FileDescriptor::~FileDescriptor() {
  if (fd >= 0) {
    close(fd);
  }
}

FileDescriptor FileDescriptor::openForWriting(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) {
    throw Failure("cannot write " + path + ": " + std::strerror(errno), "name another file");
  }
  return FileDescriptor(fd);
}

FileDescriptor FileDescriptor::duplicateOf(int descriptor) {
  const int fd = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (fd < 0) {
    throw Failure(std::string("cannot use an open file: ") + std::strerror(errno), "name a file");
  }
  return FileDescriptor(fd);
}

int FileDescriptor::release() noexcept {
  return std::exchange(fd, -1);
}

}  // namespace tool
