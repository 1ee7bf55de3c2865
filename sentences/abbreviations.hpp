#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace KQ::sentences {

/// Abbreviations that are written with a full stop and go on within a sentence, on top of those that
/// ICU has for the language: those of the language, and those that any language may hold.
struct Abbreviations {
  std::vector<std::string> words;          ///< with their stops: "Capt."
  std::vector<std::string> beforeNumbers;  ///< those that are words elsewhere: "No."
};

/// \param language  two or three letters
Abbreviations abbreviationsOf(std::string_view language);

/// Whether a number with a full stop is an ordinal in that language: "5. Mai".
bool writesOrdinalsWithDots(std::string_view language);

}  // namespace KQ::sentences
