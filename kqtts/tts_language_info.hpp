#pragma once

#include <kqtts/export.hpp>
#include <map>
#include <string>
#include <vector>

namespace KQ {

/// The table that relates language names ("French", "EnglishGB") to locale codes ("fr_FR",
/// "en_GB"). A host creates one and shares it with the manager and, through it, with every engine.
///
/// Names and codes are compared byte by byte. Unknown or empty input gives an empty string, never
/// an error. Look-ups may run at once from any threads; addLanguage() must not run beside any other
/// operation on the same table.
class KQTTS_EXPORT TTSLanguageInfo {
 public:
  /// Fills the table with the 28 built-in languages, and logs each language's name at level info in
  /// the category "tts.preference".
  TTSLanguageInfo();

  /// The language of a locale, or "".
  std::string getLanguage(std::string locale);

  /// The locale of a language, or "".
  std::string getLocale(std::string language);

  /// Adds a language and its locale, or overwrites either's entry. Ignored when one of them is
  /// empty.
  ///
  /// Only the two entries named are touched: a language that is given a new locale is still what
  /// its old locale stands for, and a locale that is given a new language is still the old one's
  /// locale.
  void addLanguage(std::string language, std::string locale);

  /// The languages that some locale stands for, each once, in byte order.
  std::vector<std::string> getLanguages();

  /// The locales that some language has, each once, in byte order.
  std::vector<std::string> getLocales();

 protected:
  std::map<std::string, std::string> localeToLanguage;  ///< by locale
  std::map<std::string, std::string> languageToLocale;  ///< by language
};

}  // namespace KQ
