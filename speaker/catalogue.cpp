#include "catalogue.hpp"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

namespace KQ::speaking {

namespace {

/// The region that is meant where a language is written without one: CLDR's likely subtags.
struct LikelyRegion {
  const char* language;
  const char* locale;
};
constexpr LikelyRegion likelyRegions[] = {{"en", "en_US"}, {"es", "es_ES"}, {"fr", "fr_FR"},
                                          {"pt", "pt_BR"}, {"zh", "zh_CN"}, {"cmn", "zh_CN"},
                                          {"yue", "zh_HK"}};

/// Languages whose speakers understand each other, or that are two names for one: CLDR's language
/// matching.
struct Relative {
  const char* language;
  const char* relative;
};
constexpr Relative relatives[] = {
    {"nb", "nn"}, {"no", "nn"},  {"nn", "nb"},  {"nb", "da"},  {"no", "da"}, {"nn", "da"},
    {"nn", "sv"}, {"nb", "sv"},  {"no", "sv"},  {"da", "nn"},  {"da", "nb"}, {"sv", "nn"},
    {"sv", "nb"}, {"cmn", "zh"}, {"yue", "zh"}, {"gl", "pt"},  {"ca", "es"}, {"gl", "es"},
    {"be", "ru"}, {"uk", "ru"},  {"lb", "de"},  {"gsw", "de"}, {"af", "nl"}, {"sk", "cs"}};

std::string languageCode(const std::string& locale) {
  return locale.substr(0, locale.find('_'));
}

void addOnce(std::vector<std::string>& names, const std::string& name) {
  if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
    names.push_back(name);
  }
}

}  // namespace

std::string normalisedLocale(const std::string& written) {
  const std::size_t separator = written.find_first_of("-_");
  const std::string code = boost::to_lower_copy(written.substr(0, separator));
  if (separator == std::string::npos) {
    return code;
  }
  const std::string rest = written.substr(separator + 1);
  return code + "_" + boost::to_upper_copy(rest.substr(rest.find_last_of("-_") + 1));
}

std::vector<std::string> Catalogue::candidates(const std::string& written) const {
  std::vector<std::string> found;
  const auto byLocale = [&](const std::string& locale) {
    for (const SpokenLanguage& language : languages) {
      if (language.locale == locale) {
        addOnce(found, language.name);
      }
    }
  };
  const auto byCode = [&](const std::string& code) {
    for (const LikelyRegion& likely : likelyRegions) {
      if (code == likely.language) {
        byLocale(likely.locale);
      }
    }
    for (const SpokenLanguage& language : languages) {
      if (languageCode(language.locale) == code) {
        addOnce(found, language.name);
      }
    }
  };
  for (const SpokenLanguage& language : languages) {
    if (boost::iequals(language.name, written)) {
      addOnce(found, language.name);
    }
  }
  const std::string ownLocale = localeOf(written);
  const std::string locale = ownLocale.empty() ? normalisedLocale(written) : ownLocale;
  byLocale(locale);
  byCode(languageCode(locale));
  for (const Relative& relative : relatives) {
    if (languageCode(locale) == relative.language) {
      byCode(relative.relative);
    }
  }
  return found;
}

std::string Catalogue::languageOf(const std::string& voice) const {
  const auto found = std::find_if(voices.begin(), voices.end(), [&](const SpokenVoice& candidate) {
    return candidate.name == voice;
  });
  return found == voices.end() ? "" : found->language;
}

std::string Catalogue::defaultVoiceOf(const std::string& language) const {
  const auto found = std::find_if(voices.begin(), voices.end(), [&](const SpokenVoice& candidate) {
    return candidate.language == language && candidate.isDefault;
  });
  return found == voices.end() ? "" : found->name;
}

std::string Catalogue::localeOf(const std::string& language) const {
  for (const auto& [name, locale] : knownLocales) {
    if (boost::iequals(name, language)) {
      return locale;
    }
  }
  return "";
}

}  // namespace KQ::speaking
