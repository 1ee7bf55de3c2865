#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace KQ::engines {

/// Where the words of a text without inline tags may begin and end.
///
/// A word is a run of letters, numerals and marks of any script, with single apostrophes, hyphens
/// and zero-width joiners between two of them, and full stops and commas between two digits:
/// "don't", "R2-D2", "3.5". Invalid UTF-8 separates words.
///
/// Such a run is one part, unless it holds characters of scripts without blanks between words:
/// those of Chinese, Japanese, Thai, Lao, Khmer and Burmese. Each of these characters begins a
/// part, except if it belongs to the one before: marks, signs of repetition and length, a Thai or
/// Lao vowel, katakana after katakana. A word then has one or more parts.
///
/// Results for a place depend only on the text near it, and take time only for that.
class WordParts {
 public:
  /// \param text  stays alive and unchanged
  explicit WordParts(std::string_view text) : text(text) {}

  bool beginsAt(std::size_t place) const;

  /// The length in bytes of the part that begins at a place; 0 if it is longer than `longest`.
  std::size_t lengthAt(std::size_t place, std::size_t longest) const;

 private:
  std::string_view text;
};

/// Whether a part would reach from one text into the other if they were joined.
bool joinWords(std::string_view before, std::string_view after);

/// A word in lower case, whatever its script.
std::string toLowerCase(std::string_view word);

}  // namespace KQ::engines
