#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

/// Tests one input, which may hold any bytes. Aborts the program if a result is wrong.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string toString(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The first line, and the rest. Without a line feed, an empty line and the whole input.
inline std::pair<std::string, std::string> splitLine(const std::string& input) {
  const std::size_t end = input.find('\n');
  return end == std::string::npos ? std::make_pair(std::string(), input)
                                  : std::make_pair(input.substr(0, end), input.substr(end + 1));
}

/// Aborts the program if `holds` is false, after a message that contains `what`.
void require(bool holds, const std::string& what);

/// A file in memory that holds `content` as long as this object lives.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& content);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const;

 private:
  int descriptor;
};

}  // namespace fuzz
