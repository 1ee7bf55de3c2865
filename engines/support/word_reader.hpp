#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace KQ::engines {

/// Finds the words of a text without inline tags, one after another, in linear time.
///
/// A word is a run of letters and digits of any script, with single apostrophes and hyphens between two
/// of them, and full stops and commas between two digits: "don't", "R2-D2", "3.5". What is no UTF-8
/// separates words.
class WordReader {
 public:
  /// \param text  stays alive and as it is
  explicit WordReader(std::string_view text) : text(text) {}

  /// The next word, a part of the text, or none at the end.
  std::optional<std::string_view> next();

 private:
  std::size_t wordCharacterAt(std::size_t place) const;
  std::size_t joinerAt(std::size_t place) const;

  std::string_view text;
  std::size_t position = 0;
};

/// A word in lower case, whatever its script.
std::string toLowerCase(std::string_view word);

}  // namespace KQ::engines
