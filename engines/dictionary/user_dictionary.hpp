#pragma once

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

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

/// What a dictionary has for a place of a text.
struct DictionaryMatch {
  const DictionaryEntry* entry;  ///< null if no entry's word begins there
  std::size_t length;  ///< of the word, or of what no entry's word begins in, in bytes; not 0
};

/// The words that a user wants to be spoken otherwise. An exact entry goes before one of any case.
class UserDictionary {
 public:
  static constexpr std::size_t longestWord = 128;          ///< bytes
  static constexpr std::size_t longestReplacement = 1024;  ///< bytes
  static constexpr std::size_t mostEntries = 100000;

  /// Adds an entry, in the place of the word's former one if there is any.
  /// \return false if it is there as it is
  /// \throws DictionaryError unless the word is a whole one, or several that stand side by side, and
  ///         the replacement is not blank, both are UTF-8 without control characters, backslashes
  ///         and angle brackets and not too long, and the dictionary has room
  bool add(const DictionaryEntry& entry);

  /// Removes the entries of a word: the exact one, and that of any case.
  /// \return whether there was one
  bool remove(const std::string& word);

  /// All of them, by word.
  std::multimap<std::string, DictionaryEntry> entries() const;

  bool isEmpty() const { return exact.empty() && anyCase.empty(); }

  /// The entry of the longest word that begins at a place and ends where words may end. Takes the
  /// same time whatever the size of the dictionary and of the text.
  /// \param place  a part of a word begins there, see WordParts
  DictionaryMatch matchAt(std::string_view text, std::size_t place) const;

 private:
  const DictionaryEntry* find(std::string_view word) const;

  std::unordered_map<std::string, DictionaryEntry> exact;    ///< by word
  std::unordered_map<std::string, DictionaryEntry> anyCase;  ///< by word in lower case
  /// By the first part in lower case, the number of parts of the longest word that begins with it.
  std::unordered_map<std::string, std::size_t> mostParts;
};

}  // namespace KQ::engines
