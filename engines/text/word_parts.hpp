#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace KQ::engines {

/// Where the words of a text without inline tags may begin and end.
///
/// A word is a run of letters, numerals and marks of any script, with single apostrophes, hyphens
/// and zero-width joiners between two of them, and full stops and commas between two digits:
/// "don't", "R2-D2", "3.5". What is no UTF-8 separates words.
///
/// Such a run is one part, unless it holds characters of scripts that put no blanks between words:
/// those of Chinese, Japanese, Thai, Lao, Khmer and Burmese. Each of them begins a part, but for
/// what belongs to the one before: marks, signs of repetition and length, a Thai or Lao vowel,
/// katakana behind katakana. A word has one or more parts then.
///
/// Any place may be asked for, and what lies far from it costs nothing and changes nothing.
class WordParts {
 public:
  /// \param text  stays alive and as it is
  explicit WordParts(std::string_view text) : text(text) {}

  bool beginsAt(std::size_t place) const;

  /// The length in bytes of the part that begins at a place; 0 if it is longer than `longest`.
  std::size_t lengthAt(std::size_t place, std::size_t longest) const;

 private:
  std::string_view text;
};

/// Whether two texts that stand side by side would have a part that reaches from one into the
/// other.
bool joinWords(std::string_view before, std::string_view behind);

/// A word in lower case, whatever its script.
std::string toLowerCase(std::string_view word);

}  // namespace KQ::engines
