#pragma once

#include <cstddef>
#include <string>

namespace test {

/// A piece again and again, until it has at least that size.
inline std::string repeat(const std::string& piece, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    text += piece;
  }
  return text;
}

}  // namespace test
