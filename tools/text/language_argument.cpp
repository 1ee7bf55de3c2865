#include "text/language_argument.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <kqtts/tts_language_info.hpp>
#include <memory>
#include <utility>

namespace tool {

namespace {

/// The locale that a language code means without a region, if not the first one in the table.
const std::map<std::string, std::string> usualLocales = {
    {"cmn", "zh_CN"}, {"en", "en_US"}, {"es", "es_ES"},  {"fr", "fr_FR"}, {"nb", "nn_NO"},
    {"no", "nn_NO"},  {"pt", "pt_PT"}, {"yue", "zh_HK"}, {"zh", "zh_CN"},
};

/// The names of languages in themselves, beside those of the language table.
const std::pair<const char*, const char*> ownNames[] = {
    {"العربية", "Arabic"},
    {"Português do Brasil", "Brazilian"},
    {"Português brasileiro", "Brazilian"},
    {"廣東話", "CantoneseHK"},
    {"粵語", "CantoneseHK"},
    {"粤语", "CantoneseHK"},
    {"中文", "Chinese"},
    {"汉语", "Chinese"},
    {"普通话", "Chinese"},
    {"Mandarin", "Chinese"},
    {"Čeština", "Czech"},
    {"Česky", "Czech"},
    {"Dansk", "Danish"},
    {"Nederlands", "Dutch"},
    {"British English", "EnglishGB"},
    {"Australian English", "EnglishAustralia"},
    {"Indian English", "EnglishIndian"},
    {"American English", "English"},
    {"Suomi", "Finnish"},
    {"Français", "French"},
    {"Français canadien", "FrenchCanadian"},
    {"Québécois", "FrenchCanadian"},
    {"Deutsch", "German"},
    {"Ελληνικά", "Greek"},
    {"Italiano", "Italian"},
    {"日本語", "Japanese"},
    {"한국어", "Korean"},
    {"國語", "MandarinTaiwan"},
    {"臺灣華語", "MandarinTaiwan"},
    {"Norsk", "Norwegian"},
    {"Nynorsk", "Norwegian"},
    {"Bokmål", "Norwegian"},
    {"Polski", "Polish"},
    {"Português", "Portuguese"},
    {"Русский", "Russian"},
    {"Español", "Spanish"},
    {"Castellano", "Spanish"},
    {"Español de México", "SpanishMexico"},
    {"Svenska", "Swedish"},
    {"Türkçe", "Turkish"},
};

/// The form of a language that comes after its usual one.
const std::map<std::string, std::string> nextLocales = {{"en", "en_GB"}};

bool isLetter(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

char lower(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

char upper(char byte) {
  return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
}

std::string changed(std::string text, char (*change)(char)) {
  std::transform(text.begin(), text.end(), text.begin(), change);
  return text;
}

/// Without case and accents; the same if it is not UTF-8.
std::string withoutAccents(const std::string& name) {
  utf8proc_uint8_t* mapped = nullptr;
  const utf8proc_ssize_t size = utf8proc_map(
      reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
      static_cast<utf8proc_ssize_t>(name.size()), &mapped,
      static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_STRIPMARK | UTF8PROC_CASEFOLD));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(mapped, &std::free);
  return size < 0
             ? name
             : std::string(reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(size));
}

/// A name as it is compared: without case, accents, spaces and punctuation.
std::string folded(const std::string& name) {
  std::string result;
  for (const char byte : withoutAccents(name)) {
    const bool ignored = std::string_view(" _-().,").find(byte) != std::string_view::npos;
    if (!ignored) {
      result += lower(byte);
    }
  }
  return result;
}

/// The parts of a locale that name the language: "zh", "TW" of "zh-Hant_TW.UTF-8@x".
struct LocaleParts {
  std::string language;  ///< lower case
  std::string region;    ///< upper case, may be empty
};

LocaleParts splitLocale(const std::string& written) {
  const std::string locale = written.substr(0, written.find_first_of(".@"));
  LocaleParts parts;
  std::size_t begin = 0;
  while (begin <= locale.size()) {
    const std::size_t end = std::min(locale.find_first_of("-_", begin), locale.size());
    const std::string part = locale.substr(begin, end - begin);
    if (begin == 0) {
      parts.language = changed(part, lower);
    } else if (part.size() == 2) {
      parts.region = changed(part, upper);
    } else if (folded(part) == "hant" && parts.region.empty()) {
      parts.region = "TW";
    }
    begin = end + 1;
  }
  return parts;
}

std::string valueOr(const std::map<std::string, std::string>& map, const std::string& key,
                    const std::string& otherwise) {
  const auto found = map.find(key);
  return found == map.end() ? otherwise : found->second;
}

}  // namespace

LanguageResolver::LanguageResolver(KQ::TTSLanguageInfo& table, std::vector<std::string> languages)
    : installed(std::move(languages)) {
  for (const std::string& locale : table.getLocales()) {
    const std::string language = table.getLanguage(locale);
    languageOfLocale.emplace(locale, language);
    languageOfName.emplace(folded(language), language);
  }
  for (const auto& [own, language] : ownNames) {
    languageOfName.emplace(folded(own), language);
  }
  for (const std::string& language : installed) {
    languageOfName[folded(language)] = language;
  }
}

std::vector<std::string> LanguageResolver::names() const {
  std::vector<std::string> all = installed;
  for (const auto& [locale, language] : languageOfLocale) {
    all.push_back(language);
  }
  return all;
}

std::string LanguageResolver::resolve(const std::string& written) const {
  if (isInstalled(written)) {
    return written;
  }
  const std::string named = resolveName(written);
  return named.empty() ? resolveLocale(written) : named;
}

std::string LanguageResolver::chooseFor(const std::string& locale) const {
  std::string own = resolveLocale(locale);
  if (isInstalled(own)) {
    return own;
  }
  std::string relative = installedFormOf(splitLocale(locale).language);
  if (!relative.empty()) {
    return relative;
  }
  std::string english = installedFormOf("en");
  if (!english.empty()) {
    return english;
  }
  return installed.empty() ? "" : installed.front();
}

bool LanguageResolver::isInstalled(const std::string& language) const {
  return std::find(installed.begin(), installed.end(), language) != installed.end();
}

std::string LanguageResolver::resolveName(const std::string& written) const {
  return valueOr(languageOfName, folded(written), "");
}

std::string LanguageResolver::resolveLocale(const std::string& written) const {
  const LocaleParts parts = splitLocale(written);
  if (parts.language.empty() ||
      !std::all_of(parts.language.begin(), parts.language.end(), isLetter)) {
    return "";
  }
  const auto exact = languageOfLocale.find(parts.language + "_" + parts.region);
  if (exact != languageOfLocale.end()) {
    return exact->second;
  }
  const std::string usual = valueOr(usualLocales, parts.language, "");
  if (!usual.empty()) {
    return valueOr(languageOfLocale, usual, "");
  }
  const auto first = languageOfLocale.lower_bound(parts.language + "_");
  const bool same = first != languageOfLocale.end() &&
                    first->first.compare(0, parts.language.size() + 1, parts.language + "_") == 0;
  return same ? first->second : "";
}

std::string LanguageResolver::installedFormOf(const std::string& languageCode) const {
  std::string usual = resolveLocale(languageCode);
  if (isInstalled(usual)) {
    return usual;
  }
  std::string next = valueOr(languageOfLocale, valueOr(nextLocales, languageCode, ""), "");
  if (isInstalled(next)) {
    return next;
  }
  for (const auto& [locale, language] : languageOfLocale) {
    if (splitLocale(locale).language == languageCode && isInstalled(language)) {
      return language;
    }
  }
  return "";
}

std::string userLocale() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') {
      return value;
    }
  }
  return "";
}

}  // namespace tool
