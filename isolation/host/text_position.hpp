#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace KQ::isolation {

/// Where the sentence that holds a byte ends: after its full stop and the blanks behind it. A text
/// that goes on and on without one counts as sentences of some thousand bytes.
std::size_t sentenceEnd(std::string_view text, std::size_t position);

/// Passes over blanks and over what closes the words before: commas, full stops, brackets.
std::size_t skipBetweenWords(std::string_view text, std::size_t position);

/// The tags that hold at a place of a text: the last one of each name, as long as nothing resets
/// them. Marks and pauses hold nowhere.
class TagState {
 public:
  /// Reads on. \param end  not before the end of the last time
  void readUpTo(std::string_view text, std::size_t end);

  /// The tags, as a text to put before another one.
  std::string prefix() const;

 private:
  void read(std::string_view tag);

  std::size_t position = 0;
  std::map<std::string, std::string> tags;  ///< name in lower case to the whole tag
};

}  // namespace KQ::isolation
