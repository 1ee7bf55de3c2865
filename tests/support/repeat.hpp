#pragma once

#include <cstddef>
#include <string>

namespace test {

/// Repeats a piece until the text has at least that size.
inline std::string repeat(const std::string& piece, std::size_t size) {
  std::string text;
  while (text.size() < size) {
    text += piece;
  }
  return text;
}

/// Repeats a piece so many times.
inline std::string repeated(const std::string& piece, std::size_t times) {
  return repeat(piece, piece.size() * times);
}

}  // namespace test
