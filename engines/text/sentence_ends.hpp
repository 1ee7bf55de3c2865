#pragma once

#include <cstddef>
#include <string_view>

namespace KQ::engines {

/// How well a text can be cut at a place; the higher, the better.
enum class CutQuality {
  none,
  withinWord,
  betweenWords,
  clause,
  likelySentence,
  sentence,
  paragraph
};

/// How well a text can be cut at a place inside it.
/// \param enough  stops looking for anything better than this
CutQuality cutQuality(std::string_view text, std::size_t cut, CutQuality enough);

/// Whether a sentence or a paragraph surely ends between two neighbouring texts, so that a
/// synthesiser speaks the first one as it would speak it alone. An abbreviation is no such end.
/// \param after  not empty
bool isSureEnd(std::string_view before, std::string_view after);

/// Two neighbouring words of an English text, and the text between them.
struct WordGap {
  std::string_view word;         ///< the first of the two, in ASCII without punctuation
  std::string_view punctuation;  ///< after that word
  int blanks;                    ///< white space before the second word
  int lineFeeds;                 ///< among the blanks
  std::string_view next;         ///< the second word; may be empty
};

/// Whether an English sentence ends in the gap.
bool endsSentence(const WordGap& gap);

}  // namespace KQ::engines
