#include "fuzz_target.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void require(bool holds, const std::string& what) {
  if (!holds) {
    std::fprintf(stderr, "not as it should be: %s\n", what.c_str());
    std::abort();
  }
}

MemoryFile::MemoryFile(const std::string& content)
    : descriptor(::memfd_create("fuzz", MFD_CLOEXEC)) {
  require(descriptor >= 0, "memory for a file");
  require(
      ::write(descriptor, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
      "writing the file");
}

MemoryFile::~MemoryFile() {
  ::close(descriptor);
}

std::string MemoryFile::path() const {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace fuzz
