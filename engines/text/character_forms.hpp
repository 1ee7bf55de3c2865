#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "text/text_rewriter.hpp"

namespace KQ::engines {

/// Characters in the form that synthesisers know: a letter and its marks as one character (NFC),
/// and plain letters and digits for ligatures, full-width, circled and presentation forms.
///
/// Characters that only affect the layout are removed: soft hyphens, joiners, direction and
/// variation marks.
class CharacterForms {
 public:
  /// \param keepsStress  a voice reads the acute accents that mark the stress of Russian words
  explicit CharacterForms(bool keepsStress) : keepsStress(keepsStress) {}

  /// Returns the part to be rewritten that begins with the character at a place, if any.
  std::optional<Rewrite> at(std::string_view text, std::size_t place) const;

 private:
  const bool keepsStress;
};

/// Whether a character belongs to the one before it: a mark, or a part of a Korean syllable.
bool isMark(char32_t point);

}  // namespace KQ::engines
