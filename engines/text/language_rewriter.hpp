#pragma once

#include <string_view>

#include "text/character_forms.hpp"
#include "text/spoken_signs.hpp"
#include "text/text_rewriter.hpp"

namespace KQ::engines {

/// Writes a text so that a synthesiser reads it right in one language: characters in their plain
/// forms, signs as words.
class LanguageRewriter : public TextRewriter {
 public:
  /// \param language  as eSpeak NG or a locale calls it: "de", "pt_BR", "cmn"
  explicit LanguageRewriter(std::string_view language);

  std::optional<Rewrite> next(std::string_view text, std::size_t begin, std::size_t end) override;

 private:
  std::optional<Rewrite> at(std::string_view text, std::size_t place, std::size_t begin) const;
  std::string withSigns(std::string_view plain) const;

  const CharacterForms forms;
  const SpokenSigns signs;
};

}  // namespace KQ::engines
