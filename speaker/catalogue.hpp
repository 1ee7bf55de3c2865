#pragma once

#include <kqtts/speaker.hpp>
#include <map>
#include <string>
#include <vector>

namespace KQ::speaking {

/// What the engines that are loaded can speak. Does not change once it is made.
struct Catalogue {
  std::vector<SpokenLanguage> languages;
  std::vector<SpokenVoice> voices;
  std::map<std::string, std::vector<std::string>> parameters;  ///< by the engine's own name
  std::map<std::string, std::string> knownLocales;  ///< of languages by name, installed or not
  std::string firstLanguage;                        ///< that which the engines begin with

  /// The languages that may stand for the one that a host wrote, by name or locale: first the one
  /// that is meant, then its relatives, the nearest first. Only such as are in the catalogue.
  std::vector<std::string> candidates(const std::string& written) const;

  /// The language of a voice, or "".
  std::string languageOf(const std::string& voice) const;

  /// The voice that a language begins with, or "".
  std::string defaultVoiceOf(const std::string& language) const;

  /// The locale of a language, installed or not, or "".
  std::string localeOf(const std::string& language) const;
};

/// "fr_FR" of "fr-fr", "FR_fr" and the like: the language in small letters, the region in capitals.
std::string normalisedLocale(const std::string& written);

}  // namespace KQ::speaking
