#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "text/sign_names.hpp"
#include "text/text_rewriter.hpp"

namespace KQ::engines {

/// Signs as words of a language: arithmetic, money, fractions, ranges, arrows, emoji, addresses.
///
/// A sign of money before a number is spoken after it, "−5" is "minus 5" and "5–10" is "5 to 10".
/// Full stops are spoken in addresses, and in numbers if the voice would leave them out.
class SpokenSigns {
 public:
  /// \param language  as eSpeak NG or a locale names it; if it has no names, at() finds nothing
  explicit SpokenSigns(std::string_view language);

  /// Returns the part to be rewritten because of a character. It may begin before the character,
  /// but not before `begin`.
  std::optional<Rewrite> at(std::string_view text, std::size_t place, std::size_t begin) const;

 private:
  struct Sign;

  std::optional<Rewrite> ofAscii(const Sign& sign) const;
  std::optional<Rewrite> minus(const Sign& sign) const;
  std::optional<Rewrite> plus(const Sign& sign) const;
  std::optional<Rewrite> comparison(const Sign& sign) const;
  std::optional<Rewrite> money(const Sign& sign) const;
  std::optional<Rewrite> moneyBefore(const Sign& sign, std::size_t numberBegin) const;
  std::optional<Rewrite> unit(const Sign& sign) const;
  std::optional<Rewrite> degrees(const Sign& sign) const;
  std::optional<Rewrite> fraction(const Sign& sign) const;
  std::optional<Rewrite> fullStop(const Sign& sign) const;
  std::optional<Rewrite> ofAddress(const Sign& sign) const;
  std::optional<Rewrite> letter(const Sign& sign) const;
  std::optional<Rewrite> named(const Sign& sign) const;

  Rewrite asWord(const Sign& sign, std::string_view key) const;
  Rewrite asWord(const Sign& sign, std::string_view key, std::size_t length) const;
  std::string_view form(std::string_view key, bool isOne) const;
  std::string digitsOf(std::string_view number) const;

  const SignNames names;
  const bool isEnglish;
  const bool isGreek;
  const bool readsDecimals;  ///< the voice speaks the full stop of "3.5"
};

}  // namespace KQ::engines
