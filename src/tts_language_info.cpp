#include <kqtts/tts_language_info.hpp>
#include <set>

#include "log_sites.hpp"

namespace KQ {

namespace {

const LogCategory category(sites::preferenceCategory);

struct BuiltInLanguage {
  const char* locale;
  const char* language;
};

constexpr BuiltInLanguage builtInLanguages[] = {
    {"fr_FR", "French"},
    {"ja_JP", "Japanese"},
    {"en_US", "English"},
    {"it_IT", "Italian"},
    {"de_DE", "German"},
    {"es_ES", "Spanish"},
    {"zh_CN", "Chinese"},
    {"ko_KR", "Korean"},
    {"pl_PL", "Polish"},
    {"pt_BR", "Brazilian"},
    {"pt_PT", "Portuguese"},
    {"ar_SA", "Arabic"},
    {"tr_TR", "Turkish"},
    {"cs_CZ", "Czech"},
    {"nl_NL", "Dutch"},
    {"da_DK", "Danish"},
    {"fi_FI", "Finnish"},
    {"sv_SE", "Swedish"},
    {"ru_RU", "Russian"},
    {"nn_NO", "Norwegian"},
    {"el_GR", "Greek"},
    {"zh_HK", "CantoneseHK"},
    {"en_AU", "EnglishAustralia"},
    {"en_GB", "EnglishGB"},
    {"en_IN", "EnglishIndian"},
    {"fr_CA", "FrenchCanadian"},
    {"zh_TW", "MandarinTaiwan"},
    {"es_MX", "SpanishMexico"},
};

std::string valueOrEmpty(const std::map<std::string, std::string>& table, const std::string& key) {
  const auto entry = table.find(key);
  return entry == table.end() ? std::string() : entry->second;
}

std::vector<std::string> distinctValues(const std::map<std::string, std::string>& table) {
  std::set<std::string> values;
  for (const auto& entry : table) {
    values.insert(entry.second);
  }
  return {values.begin(), values.end()};
}

}  // namespace

TTSLanguageInfo::TTSLanguageInfo() {
  for (const BuiltInLanguage& row : builtInLanguages) {
    localeToLanguage[row.locale] = row.language;
  }
  for (const auto& [locale, language] : localeToLanguage) {
    languageToLocale[language] = locale;
    log(sites::builtInLanguage, language);
  }
}

std::string TTSLanguageInfo::getLanguage(std::string locale) {
  return valueOrEmpty(localeToLanguage, locale);
}

std::string TTSLanguageInfo::getLocale(std::string language) {
  return valueOrEmpty(languageToLocale, language);
}

void TTSLanguageInfo::addLanguage(std::string language, std::string locale) {
  if (language.empty() || locale.empty()) {
    return;
  }
  languageToLocale[language] = locale;
  localeToLanguage[locale] = language;
}

std::vector<std::string> TTSLanguageInfo::getLanguages() {
  return distinctValues(localeToLanguage);
}

std::vector<std::string> TTSLanguageInfo::getLocales() {
  return distinctValues(languageToLocale);
}

}  // namespace KQ
