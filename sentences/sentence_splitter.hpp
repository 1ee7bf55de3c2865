#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace KQ::sentences {

/// Finds where the sentences of a text end.
///
/// The boundaries are those of Unicode, as ICU finds them, without those after the abbreviations of
/// the language. In addition, a full stop ends no sentence after a single letter ("J. Bach",
/// "z. B.", "в г. Москва"), after a number that begins the text or may be a part of a date in the
/// language ("5. Mai"), and before a lower-case letter. A line feed is a blank, and an empty line
/// ends every sentence. The text may contain any bytes.
///
/// Only one thread at a time may use an object. Its construction takes some milliseconds.
class SentenceSplitter {
 public:
  /// \param locale  such as "de_DE" or "de". "" and a locale without abbreviations have those that
  ///                all languages share.
  /// \throws std::runtime_error if ICU's data is missing
  explicit SentenceSplitter(const std::string& locale = "");
  ~SentenceSplitter();
  SentenceSplitter(const SentenceSplitter&) = delete;
  SentenceSplitter& operator=(const SentenceSplitter&) = delete;

  /// The ends of the sentences of a complete text, in bytes: after the closing marks, before the
  /// white space that follows. White space at the end of the text belongs to no sentence.
  std::vector<std::size_t> ends(std::string_view text) const;

  /// The end of the first sentence of an incomplete text, or 0 if more text could change it: the
  /// next letter must be known. More text never changes an end that was returned.
  std::size_t firstEnd(std::string_view text) const;

 private:
  class Boundaries;

  const std::unique_ptr<Boundaries> boundaries;
};

}  // namespace KQ::sentences
