#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

#include "support/replaced_text.hpp"

namespace KQ::engines {

/// What is wrong with a dictionary, an entry or its file, in words for the user.
class DictionaryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A word, and the text that is spoken in its place.
struct DictionaryEntry {
  std::string word;
  std::string replacement;
  bool isExact = false;  ///< whether only this spelling counts, not each of upper and lower case
};

/// The words that a user wants to be spoken otherwise. An exact entry goes before one of any case.
class UserDictionary {
 public:
  static constexpr std::size_t longestWord = 128;          ///< bytes
  static constexpr std::size_t longestReplacement = 1024;  ///< bytes
  static constexpr std::size_t mostEntries = 100000;

  /// Adds an entry, in the place of the word's former one if there is any.
  /// \return false if it is there as it is
  /// \throws DictionaryError unless the word is one word and the replacement is not blank, both are
  ///         UTF-8 without control characters, backslashes and angle brackets and not too long, and
  ///         the dictionary has room
  bool add(const DictionaryEntry& entry);

  /// Removes the entries of a word: the exact one, and that of any case.
  /// \return whether there was one
  bool remove(const std::string& word);

  /// All of them, by word.
  std::multimap<std::string, DictionaryEntry> entries() const;

  /// Replaces whole words, never in inline tags, in one pass: what was inserted is not looked at
  /// again. Takes linear time, whatever the size of the dictionary.
  /// \return none if the text has none of the words
  std::optional<ReplacedText> replaceIn(std::string_view text) const;

 private:
  const DictionaryEntry* find(std::string_view word) const;

  std::unordered_map<std::string, DictionaryEntry> exact;    ///< by word
  std::unordered_map<std::string, DictionaryEntry> anyCase;  ///< by word in lower case
};

}  // namespace KQ::engines
