#include "say/host_session.hpp"

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/locks.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <zu/path.hpp>

#include "say/package_discovery.hpp"
#include "system/failure.hpp"
#include "text/language_argument.hpp"
#include "text/language_package.hpp"
#include "text/name_distance.hpp"

namespace tool {

void useEngineFolders(const HostOptions& options) {
  // The folder added last is looked at first.
  for (auto folder = options.engineFolders.rbegin(); folder != options.engineFolders.rend();
       ++folder) {
    zu::path::addLibDir(*folder);
  }
}

std::string isolatedEngineFolder() {
  for (const std::string& folder : zu::path::libDirs()) {
    const boost::filesystem::path isolated = boost::filesystem::path(folder) / "kqtts/isolated";
    boost::system::error_code error;
    if (boost::filesystem::is_regular_file(isolated / "kqtts/kqtts-engine", error)) {
      return isolated.string();
    }
  }
  return "";
}

std::vector<std::string> packageFoldersOf(const HostOptions& options) {
  return options.packageFolders.empty() ? standardPackageFolders() : options.packageFolders;
}

/// Opens up the registry of engines.
class HostSession::Manager : public KQ::TextToSpeechManager {
 public:
  using KQ::TextToSpeechManager::TextToSpeechManager;

  std::map<std::string, boost::shared_ptr<KQ::TextToSpeechEngine>> registeredEngines() const {
    const boost::unique_lock<boost::mutex> lock(tablesMutex);
    return engines;
  }
};

HostSession::HostSession(const HostOptions& options, TextToSpeechEngineCallbackInterface* callback)
    : languageInfo(boost::make_shared<KQ::TTSLanguageInfo>()),
      ttsManager(std::make_unique<Manager>(callback, languageInfo)) {
  useEngineFolders(options);
  if (!options.inProcess) {
    zu::path::addLibDir(isolatedEngineFolder());
  }
  if (!ttsManager->initialize(findPackages(packageFoldersOf(options), *ttsManager))) {
    throw Failure("no speech engine can be used",
                  "'kqtts doctor' shows why; install one with its packages, or name their folders "
                  "with --engines and --packages");
  }
}

HostSession::~HostSession() = default;

KQ::TextToSpeechManager& HostSession::manager() {
  return *ttsManager;
}

std::map<std::string, boost::shared_ptr<KQ::TextToSpeechEngine>> HostSession::engines() const {
  return ttsManager->registeredEngines();
}

std::vector<std::string> HostSession::languages() {
  std::vector<std::string> distinct;
  for (const std::string& language : ttsManager->getAvailableLanguages()) {
    if (std::find(distinct.begin(), distinct.end(), language) == distinct.end()) {
      distinct.push_back(language);
    }
  }
  return distinct;
}

std::string HostSession::localeOf(const std::string& language) const {
  return languageInfo->getLocale(language);
}

std::string HostSession::findLanguage(const std::string& written) {
  const LanguageResolver resolver(*languageInfo, languages());
  std::string language = resolver.resolve(written);
  const std::string whatToDo = "'kqtts list languages' shows what there is";
  if (language.empty()) {
    throw Failure("unknown language '" + written + "'" + suggestion(written, resolver.names()),
                  whatToDo);
  }
  if (!resolver.isInstalled(language)) {
    const std::string source = whatBrings(language);
    throw Failure("the language " + language + " is not installed",
                  (source.empty() ? "" : source + "; ") + whatToDo);
  }
  return language;
}

std::string HostSession::findVoice(const std::string& written) {
  const std::map<std::string, std::string> voices = ttsManager->getAllAvailableVoices();
  if (voices.count(written) != 0) {
    return written;
  }
  const auto found = std::find_if(voices.begin(), voices.end(), [&](const auto& voice) {
    return boost::algorithm::iequals(voice.first, written, std::locale::classic());
  });
  if (found == voices.end()) {
    std::vector<std::string> names;
    for (const auto& voice : voices) {
      names.push_back(voice.first);
    }
    throw Failure("unknown voice '" + written + "'" + suggestion(written, names),
                  "'kqtts list voices' shows what there is");
  }
  return found->first;
}

std::string HostSession::usualLanguage() {
  return LanguageResolver(*languageInfo, languages()).chooseFor(userLocale());
}

void HostSession::choose(const VoiceChoice& choice) {
  if (!choice.language.empty()) {
    chooseLanguage(findLanguage(choice.language));
  } else if (choice.voice.empty()) {
    chooseLanguage(usualLanguage());
    noteMissingLanguage();
  }
  if (choice.voice.empty()) {
    return;
  }
  const std::string voice = findVoice(choice.voice);
  const std::string spoken = ttsManager->getLanguage(voice);
  if (!choice.language.empty() && spoken != ttsManager->getCurrentLanguage()) {
    throw Failure("the voice " + voice + " speaks " + spoken, "ask for that language, or for none");
  }
  ttsManager->setCurrentVoice(voice);
}

/// Says why the language of the user's locale is not the one that was chosen.
void HostSession::noteMissingLanguage() {
  const std::string wanted = LanguageResolver(*languageInfo, languages()).resolve(userLocale());
  const std::string chosen = ttsManager->getCurrentLanguage();
  const std::string source = whatBrings(wanted);
  if (wanted != chosen && !source.empty()) {
    std::cerr << "kqtts: note: " << wanted << " is not installed, so " << chosen << " is spoken; "
              << source << '\n';
  }
}

void HostSession::chooseLanguage(const std::string& language) {
  if (language.empty()) {
    throw Failure("no language is installed",
                  "install a language package, or name its folder with --packages");
  }
  ttsManager->setCurrentLanguage(language);
}

}  // namespace tool
