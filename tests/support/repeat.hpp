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

/// A piece so many times.
inline std::string repeated(const std::string& piece, std::size_t times) {
  return repeat(piece, piece.size() * times);
}

}  // namespace test
