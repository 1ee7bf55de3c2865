#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace KQ::engines {

/// The spoken names of signs and emoji in one language: those of signs.tsv, and for all others
/// those that the Unicode consortium publishes. They are constants in the library, and none is read
/// before it is needed.
class SignNames {
 public:
  /// \param language  as eSpeak NG or a locale calls it: "de", "pt_BR", "cmn"; "" for no names
  explicit SignNames(std::string_view language);

  bool isKnownLanguage() const { return names != nullptr; }

  /// The name of a sign, or "". \param sign  UTF-8, without variation selectors and skin tones
  std::string_view of(std::string_view sign) const;

  struct Names;

 private:
  const Names* names;
};

}  // namespace KQ::engines
