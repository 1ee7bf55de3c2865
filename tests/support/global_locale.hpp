#pragma once

#include <locale>
#include <string>

namespace test {

/// Sets the global locale, and restores the previous one when it is destroyed.
class GlobalLocale {
 public:
  explicit GlobalLocale(const std::locale& locale) : previous(std::locale::global(locale)) {}
  ~GlobalLocale() { std::locale::global(previous); }
  GlobalLocale(const GlobalLocale&) = delete;
  GlobalLocale& operator=(const GlobalLocale&) = delete;

 private:
  std::locale previous;
};

/// The decimal point is a comma, and a full stop separates all digits.
class OtherPunctuation : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

inline std::locale localeOfOtherPunctuation() {
  return {std::locale::classic(), new OtherPunctuation};
}

}  // namespace test
