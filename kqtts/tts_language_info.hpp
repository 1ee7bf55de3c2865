#pragma once

#include <kqtts/export.hpp>
#include <map>
#include <string>
#include <vector>

namespace KQ {

/// A table of language names ("French", "EnglishGB") and locale codes ("fr_FR", "en_GB"). A host
/// creates one and passes it to the manager, which passes it to every engine.
///
/// Names and codes are compared byte by byte. Unknown or empty input gives an empty string, never
/// an error. Any number of threads may look up at the same time; addLanguage() must not run at the
/// same time as any other operation on the same table.
class KQTTS_EXPORT TTSLanguageInfo {
 public:
  /// Fills the table with the 28 built-in languages. Logs the name of each at level info in the
  /// category "tts.preference".
  TTSLanguageInfo();

  /// The language of a locale, or "".
  std::string getLanguage(std::string locale);

  /// The locale of a language, or "".
  std::string getLocale(std::string language);

  /// Adds a language and its locale, or overwrites their entries. Does nothing if one of them is
  /// empty.
  ///
  /// Changes these two entries only. If a language gets a new locale, its old locale still maps to
  /// it; if a locale gets a new language, the old language still maps to that locale.
  void addLanguage(std::string language, std::string locale);

  /// The languages that at least one locale maps to, each once, in byte order.
  std::vector<std::string> getLanguages();

  /// The locales that at least one language maps to, each once, in byte order.
  std::vector<std::string> getLocales();

 protected:
  std::map<std::string, std::string> localeToLanguage;  ///< by locale
  std::map<std::string, std::string> languageToLocale;  ///< by language
};

}  // namespace KQ
