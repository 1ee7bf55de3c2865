#include "library_file.hpp"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zu::os {

namespace {

class ReadFile {
 public:
  explicit ReadFile(const char* path) : descriptor(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
      size = static_cast<std::uint64_t>(status.st_size);
    }
  }
  ~ReadFile() {
    if (descriptor >= 0) {
      close(descriptor);
    }
  }
  ReadFile(const ReadFile&) = delete;
  ReadFile& operator=(const ReadFile&) = delete;

  /// Whether the file has these bytes.
  bool holds(std::uint64_t offset, std::uint64_t count) const {
    return offset <= size && count <= size - offset;
  }

  /// \return false if the bytes are not there or cannot be read
  template <typename Record>
  bool read(std::uint64_t offset, Record& record) const {
    return holds(offset, sizeof record) &&
           pread(descriptor, &record, sizeof record, static_cast<off_t>(offset)) ==
               static_cast<ssize_t>(sizeof record);
  }

 private:
  const int descriptor;
  std::uint64_t size = 0;  ///< 0 for what is no regular file
};

}  // namespace

bool isCutShort(const char* path) {
  const ReadFile file(path);
  std::array<char, SELFMAG> magic{};
  ElfW(Ehdr) header{};
  if (!file.read(0, magic) || std::memcmp(magic.data(), ELFMAG, SELFMAG) != 0) {
    return false;
  }
  if (!file.read(0, header)) {
    return true;
  }
  if (header.e_phentsize != sizeof(ElfW(Phdr))) {
    return false;  // another processor's
  }
  for (std::size_t i = 0; i < header.e_phnum; ++i) {
    ElfW(Phdr) segment{};
    if (!file.read(header.e_phoff + i * sizeof segment, segment)) {
      return true;
    }
    if (segment.p_type == PT_LOAD && !file.holds(segment.p_offset, segment.p_filesz)) {
      return true;
    }
  }
  return false;
}

}  // namespace zu::os
