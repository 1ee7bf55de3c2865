#include "doctor/library_file.hpp"

#include <fcntl.h>
#include <gelf.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

#include "system/file_descriptor.hpp"

namespace tool {

namespace {

const std::map<unsigned, std::string> machines = {
    {EM_386, "32-bit x86"},     {EM_X86_64, "x86-64"}, {EM_ARM, "32-bit Arm"},
    {EM_AARCH64, "64-bit Arm"}, {EM_RISCV, "RISC-V"},  {EM_PPC64, "64-bit PowerPC"},
    {EM_MIPS, "MIPS"},          {EM_S390, "S/390"},
};

std::string nameOf(const GElf_Ehdr& header) {
  const auto known = machines.find(header.e_machine);
  return known == machines.end() ? "machine " + std::to_string(header.e_machine) : known->second;
}

/// A file that libelf reads.
class ElfFile {
 public:
  explicit ElfFile(const std::string& path) : file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    openingError = errno;
    elf_version(EV_CURRENT);
    elf.reset(elf_begin(file.get(), ELF_C_READ, nullptr));
    complete = elf != nullptr && gelf_getehdr(elf.get(), &fileHeader) != nullptr;
  }

  bool isOpen() const { return file.get() >= 0; }
  int error() const { return openingError; }
  /// Whether it begins as an ELF file does, even if it ends within its header.
  bool isElf() const {
    std::size_t size = 0;
    const char* const bytes = elf_rawfile(elf.get(), &size);
    return size >= SELFMAG && std::memcmp(bytes, ELFMAG, SELFMAG) == 0;
  }
  bool hasHeader() const { return complete; }
  const GElf_Ehdr& header() const { return fileHeader; }

  /// Whether the file ends before what its segments need.
  bool isTruncated() const {
    std::size_t count = 0;
    std::size_t size = 0;
    if (elf_getphdrnum(elf.get(), &count) != 0 || elf_rawfile(elf.get(), &size) == nullptr) {
      return true;
    }
    for (std::size_t i = 0; i < count; ++i) {
      GElf_Phdr segment{};
      if (gelf_getphdr(elf.get(), static_cast<int>(i), &segment) == nullptr) {
        return true;
      }
      if (segment.p_type == PT_LOAD &&
          (segment.p_filesz > size || segment.p_offset > size - segment.p_filesz)) {
        return true;
      }
    }
    return false;
  }

 private:
  struct End {
    void operator()(Elf* handle) const { elf_end(handle); }
  };

  FileDescriptor file;
  int openingError = 0;
  std::unique_ptr<Elf, End> elf;
  GElf_Ehdr fileHeader{};
  bool complete = false;
};

bool hasSameArchitecture(const GElf_Ehdr& one, const GElf_Ehdr& other) {
  return one.e_machine == other.e_machine && one.e_ident[EI_CLASS] == other.e_ident[EI_CLASS] &&
         one.e_ident[EI_DATA] == other.e_ident[EI_DATA];
}

}  // namespace

std::optional<LibraryDefect> inspectLibrary(const std::string& path) {
  const ElfFile library(path);
  if (!library.isOpen()) {
    return LibraryDefect{"plugin-unreadable",
                         std::string("cannot be read: ") + strerror(library.error())};
  }
  if (!library.isElf()) {
    return LibraryDefect{"plugin-not-a-library", "is no shared library"};
  }
  if (!library.hasHeader()) {
    return LibraryDefect{"plugin-truncated", "is cut off: its header is incomplete"};
  }
  const ElfFile self("/proc/self/exe");
  if (self.hasHeader() && !hasSameArchitecture(library.header(), self.header())) {
    return LibraryDefect{
        "plugin-wrong-architecture",
        "is made for " + nameOf(library.header()) + ", this program for " + nameOf(self.header())};
  }
  if (library.header().e_type != ET_DYN) {
    return LibraryDefect{"plugin-not-a-library",
                         "is a program or a part of one, no shared library"};
  }
  if (library.isTruncated()) {
    return LibraryDefect{"plugin-truncated",
                         "is cut off: it ends before what its header announces"};
  }
  return std::nullopt;
}

}  // namespace tool
