#pragma once

#include <map>
#include <string>
#include <vector>

namespace KQ {
class TTSLanguageInfo;
}

namespace tool {

/// Finds the language that a user means. Only this class compares languages loosely.
///
/// It understands, in this order, in any case and with or without accents: the name of an installed
/// language or of the language table ("French", "english gb"), a language's own name for itself
/// ("français"), a locale ("fr_FR", "fr-FR", "FR_fr", "fr_FR.UTF-8",
/// "zh-Hant"), a language code ("fr"). A code alone, or with a region that the table does not know,
/// stands for the language's usual form: "en" English (en_US), "es" Spanish (es_ES), "fr" French
/// (fr_FR), "pt" Portuguese (pt_PT), "zh" Chinese (zh_CN); "no" and "nb" are Norwegian, "cmn"
/// Chinese, "yue" CantoneseHK.
class LanguageResolver {
 public:
  /// \param table      names and locales
  /// \param languages  the names of the installed languages, in the order of preference
  LanguageResolver(KQ::TTSLanguageInfo& table, std::vector<std::string> languages);

  /// The name of the language, installed or not, or "" if `written` means no language.
  std::string resolve(const std::string& written) const;

  /// The installed language that suits a user's locale best: its own, another form of the same
  /// language, English or another form of it, the first one. Of the forms of English, British
  /// English comes after English. "" if none is installed.
  std::string chooseFor(const std::string& userLocale) const;

  /// All names in English: those of the language table and of the installed languages.
  std::vector<std::string> names() const;

  bool isInstalled(const std::string& language) const;

 private:
  std::string resolveName(const std::string& written) const;
  std::string resolveLocale(const std::string& written) const;
  std::string installedFormOf(const std::string& languageCode) const;

  std::vector<std::string> installed;
  std::map<std::string, std::string> languageOfLocale;  ///< "fr_FR" to "French"
  std::map<std::string, std::string> languageOfName;    ///< "englishgb" to "EnglishGB"
};

/// The user's locale as the environment names it: the first of LC_ALL, LC_MESSAGES and LANG that is
/// not empty; "" if none is.
std::string userLocale();

}  // namespace tool
