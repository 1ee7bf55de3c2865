#pragma once

#include <string>
#include <vector>

#include "dictionary/user_dictionary.hpp"

/// A dictionary's work on a text as plain steps on the whole of it, whatever time they take.
namespace oracle {

struct Rewritten {
  std::string text;
  std::vector<std::size_t>
      begins;  ///< for each byte of the text, where in the original what it is from begins
  std::vector<std::size_t> ends;  ///< and ends
};

/// Replaces the words of all entries, longest first, an exact one before one of any case.
Rewritten rewrite(const std::string& text, const KQ::engines::UserDictionary& dictionary);

/// Reads a text as it is spoken, forgetting what was read, and compares all that it tells with
/// rewrite() of the whole.
/// \return what is not the same, or ""
std::string differenceOfSpokenText(const std::string& text,
                                   const KQ::engines::UserDictionary& dictionary);

}  // namespace oracle
