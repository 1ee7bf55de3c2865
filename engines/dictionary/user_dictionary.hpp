#pragma once

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

namespace KQ::engines {

/// An error in a dictionary, an entry or its file. what() is for the user.
class DictionaryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A word, and the text that replaces it.
struct DictionaryEntry {
  std::string word;
  std::string replacement;
  bool isExact = false;  ///< whether upper and lower case matter
};

/// A dictionary's entry for a place of a text.
struct DictionaryMatch {
  const DictionaryEntry* entry;  ///< null if no entry fits
  std::size_t length;            ///< in bytes, not 0: of the word, or of text without an entry
};

/// The words that a user wants to be spoken otherwise. An exact entry wins over one of any case.
class UserDictionary {
 public:
  static constexpr std::size_t longestWord = 128;          ///< bytes
  static constexpr std::size_t longestReplacement = 1024;  ///< bytes
  static constexpr std::size_t mostEntries = 100000;

  /// Adds an entry, or replaces the word's former one.
  /// \return false if the dictionary has the same entry
  /// \throws DictionaryError unless the word is one word, or several without anything between them,
  ///         the replacement is not blank, both are UTF-8 without control characters, backslashes
  ///         and angle brackets and not too long, and the dictionary has room
  bool add(const DictionaryEntry& entry);

  /// Removes the entries of a word: the exact one, and that of any case.
  /// \return whether there was one
  bool remove(const std::string& word);

  /// Returns all entries, by word.
  std::multimap<std::string, DictionaryEntry> entries() const;

  bool isEmpty() const { return exact.empty() && anyCase.empty(); }

  /// Returns the entry of the longest word that begins at a place and ends where words may end. The
  /// time does not depend on the size of the dictionary and of the text.
  /// \param place  where a part of a word begins, see WordParts
  DictionaryMatch matchAt(std::string_view text, std::size_t place) const;

 private:
  const DictionaryEntry* find(std::string_view word) const;

  std::unordered_map<std::string, DictionaryEntry> exact;    ///< by word
  std::unordered_map<std::string, DictionaryEntry> anyCase;  ///< by word in lower case
  /// By the first part in lower case, the number of parts of the longest word that begins with it.
  std::unordered_map<std::string, std::size_t> mostParts;
};

}  // namespace KQ::engines
