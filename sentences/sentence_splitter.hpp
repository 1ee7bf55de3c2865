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
/// the language. Rules on top keep together what is rarely two sentences: a full stop ends none
/// after a single letter ("J. Bach", "z. B.", "в г. Москва"), after a number that begins the text or
/// that the language's dates may hold ("5. Mai"), and before a lower-case letter. Line feeds are
/// blanks, an empty line always ends a sentence. The text may hold any bytes.
///
/// One object is used by one thread at a time. Making one takes some milliseconds.
class SentenceSplitter {
 public:
  /// \param locale  such as "de_DE" or "de"; for one without abbreviations, and for "", those that
  ///                all languages share
  /// \throws std::runtime_error when ICU lacks its data
  explicit SentenceSplitter(const std::string& locale = "");
  ~SentenceSplitter();
  SentenceSplitter(const SentenceSplitter&) = delete;
  SentenceSplitter& operator=(const SentenceSplitter&) = delete;

  /// Where the sentences of a whole text end, in bytes: after their closing marks, before the white
  /// space that follows. White space at the end belongs to no sentence.
  std::vector<std::size_t> ends(std::string_view text) const;

  /// Where the first sentence of a text ends that may go on, or 0 if what follows could change that:
  /// the next letter has to be known. More text never changes an end that was found.
  std::size_t firstEnd(std::string_view text) const;

 private:
  class Boundaries;

  const std::unique_ptr<Boundaries> boundaries;
};

}  // namespace KQ::sentences
