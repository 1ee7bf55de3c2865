#pragma once

#include <string>
#include <vector>

#include "dictionary/user_dictionary.hpp"

/// Applies a dictionary to a whole text at once, in simple steps. May be slow.
namespace oracle {

struct Rewritten {
  std::string text;
  /// For each byte of `text`, the begin and the end of the part of the original that it replaces.
  std::vector<std::size_t> begins;
  std::vector<std::size_t> ends;
};

/// Replaces the words of all entries. Prefers the longest word, then an entry of exact case.
Rewritten rewrite(const std::string& text, const KQ::engines::UserDictionary& dictionary);

/// Reads a text through SpokenText, releasing each part after it was read, and compares the result
/// with rewrite().
/// \return the first difference, or ""
std::string differenceOfSpokenText(const std::string& text,
                                   const KQ::engines::UserDictionary& dictionary);

}  // namespace oracle
