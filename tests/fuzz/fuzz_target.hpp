#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

/// One input, whatever it holds. Ends the program where a behaviour is not as it should be.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline std::string toString(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// The first line, and all that follows it.
inline std::pair<std::string, std::string> splitLine(const std::string& input) {
  const std::size_t end = input.find('\n');
  return end == std::string::npos ? std::make_pair(std::string(), input)
                                  : std::make_pair(input.substr(0, end), input.substr(end + 1));
}

/// Ends the program when `holds` is false, and says what was wrong.
void require(bool holds, const std::string& what);

/// A file without a name that holds `content`, as long as it lives.
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
