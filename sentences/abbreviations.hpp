#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KQ::sentences {

/// Abbreviations with a full stop that does not end a sentence: those of a language that ICU lacks,
/// and those that may be in any language.
struct Abbreviations {
  std::vector<std::string> words;          ///< with their full stops: "Capt."
  std::vector<std::string> beforeNumbers;  ///< abbreviations only before a number: "No."
};

/// \param language  two or three letters
Abbreviations abbreviationsOf(std::string_view language);

/// Whether a number with a full stop is an ordinal in that language: "5. Mai".
bool writesOrdinalsWithDots(std::string_view language);

}  // namespace KQ::sentences
