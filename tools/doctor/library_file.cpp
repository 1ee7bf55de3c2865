#include "doctor/library_file.hpp"

#include <link.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <vector>

namespace tool {

namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);

const std::map<unsigned, std::string> machines = {
    {EM_386, "32-bit x86"},     {EM_X86_64, "x86-64"}, {EM_ARM, "32-bit Arm"},
    {EM_AARCH64, "64-bit Arm"}, {EM_RISCV, "RISC-V"},  {EM_PPC64, "64-bit PowerPC"},
    {EM_MIPS, "MIPS"},          {EM_S390, "S/390"},
};

std::string nameOf(const Header& header) {
  const auto known = machines.find(header.e_machine);
  return known == machines.end() ? "machine " + std::to_string(header.e_machine) : known->second;
}

template <typename Record>
bool readAt(std::istream& file, std::streamoff offset, Record& record) {
  file.clear();
  file.seekg(offset);
  return static_cast<bool>(file.read(reinterpret_cast<char*>(&record), sizeof(record)));
}

Header ownHeader() {
  std::ifstream self("/proc/self/exe", std::ios::binary);
  Header header{};
  readAt(self, 0, header);
  return header;
}

bool hasSameArchitecture(const Header& one, const Header& other) {
  return one.e_machine == other.e_machine && one.e_ident[EI_CLASS] == other.e_ident[EI_CLASS] &&
         one.e_ident[EI_DATA] == other.e_ident[EI_DATA];
}

/// Whether the file ends before what its segments say is in it.
bool isTruncated(std::istream& file, const Header& header) {
  file.clear();
  file.seekg(0, std::ios::end);
  const auto size = static_cast<ElfW(Off)>(file.tellg());
  for (unsigned i = 0; i < header.e_phnum; ++i) {
    Segment segment{};
    const ElfW(Off) offset = header.e_phoff + ElfW(Off){i} * header.e_phentsize;
    if (offset > size || !readAt(file, static_cast<std::streamoff>(offset), segment)) return true;
    if (segment.p_type == PT_LOAD &&
        (segment.p_filesz > size || segment.p_offset > size - segment.p_filesz)) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::optional<LibraryDefect> inspectLibrary(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    return LibraryDefect{"plugin-unreadable", std::string("cannot be read: ") + strerror(errno)};
  }
  Header header{};
  const bool complete = readAt(file, 0, header);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
    return LibraryDefect{"plugin-not-a-library", "is no shared library"};
  }
  if (!complete) return LibraryDefect{"plugin-truncated", "is cut off: its header is incomplete"};
  const Header own = ownHeader();
  if (own.e_machine != EM_NONE && !hasSameArchitecture(header, own)) {
    return LibraryDefect{"plugin-wrong-architecture",
                         "is made for " + nameOf(header) + ", this program for " + nameOf(own)};
  }
  if (header.e_type != ET_DYN) {
    return LibraryDefect{"plugin-not-a-library",
                         "is a program or a part of one, no shared library"};
  }
  if (isTruncated(file, header)) {
    return LibraryDefect{"plugin-truncated",
                         "is cut off: it ends before what its header announces"};
  }
  return std::nullopt;
}

}  // namespace tool
