#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <boost/filesystem/path.hpp>

namespace test {

/// The number of this process's descriptors that refer to a file.
struct OpenDescriptors {
  int all = 0;
  int inheritable = 0;  ///< those that a program started now would inherit
};

/// Counts descriptors 0 to 255. May miss those that other threads open or close meanwhile.
inline OpenDescriptors openDescriptorsOf(const boost::filesystem::path& file) {
  OpenDescriptors found;
  struct stat wanted {};
  ::stat(file.c_str(), &wanted);
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    struct stat status {};
    const int flags = ::fcntl(descriptor, F_GETFD);
    if (flags >= 0 && ::fstat(descriptor, &status) == 0 && status.st_dev == wanted.st_dev &&
        status.st_ino == wanted.st_ino) {
      ++found.all;
      found.inheritable += (flags & FD_CLOEXEC) == 0 ? 1 : 0;
    }
  }
  return found;
}

}  // namespace test
