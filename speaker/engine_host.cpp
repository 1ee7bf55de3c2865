#include "engine_host.hpp"

#include <algorithm>
#include <boost/filesystem/path.hpp>
#include <boost/make_shared.hpp>
#include <kq/error.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>

#include "failure_text.hpp"

namespace KQ::speaking {

namespace {

[[noreturn]] void failToChoose(const std::string& description) {
  throw KQError("Speaker", "speak", description, nullptr, 0);
}

/// Asks for something that is not worth a failure where it cannot be had.
template <typename Question>
auto answerOf(Question question) -> decltype(question()) {
  try {
    return question();
  } catch (...) {  // engines may throw what they like
    return {};
  }
}

}  // namespace

EngineHost::EngineHost(TextToSpeechEngineCallbackInterface* engineCallback)
    : callback(engineCallback),
      languageInfo(boost::make_shared<TTSLanguageInfo>()),
      catalogue(std::make_shared<Catalogue>()) {}

EngineHost::~EngineHost() = default;

std::shared_ptr<TextToSpeechManager> EngineHost::makeManager(
    const std::vector<zu::PackageInfo>& packages) {
  const auto made = std::make_shared<TextToSpeechManager>(callback, languageInfo);
  try {
    return made->initialize(packages) ? made : nullptr;
  } catch (...) {
    lastError = describeFailure(std::current_exception());
    return nullptr;
  }
}

std::shared_ptr<const Catalogue> EngineHost::load(const std::vector<zu::PackageInfo>& packages) {
  ready.reset();
  others.clear();
  manifests.reset();
  manager.reset();
  lastError.clear();
  installed = packages;
  manager = makeManager(packages);
  catalogue = describe();
  return catalogue;
}

std::shared_ptr<const Catalogue> EngineHost::describe() const {
  const auto made = std::make_shared<Catalogue>();
  for (const std::string& name : languageInfo->getLanguages()) {
    made->knownLocales[name] = languageInfo->getLocale(name);
  }
  if (!manager) {
    return made;
  }
  std::map<std::string, std::string> engines;
  for (const std::string& name : answerOf([&] { return manager->getAvailableLanguages(); })) {
    const auto engine = answerOf([&] { return manager->xGetEngine(name); });
    engines[name] = engine ? answerOf([&] { return engine->getName(); }) : "";
    made->languages.push_back({name, languageInfo->getLocale(name), engines[name]});
    if (engine && made->parameters.count(engines[name]) == 0) {
      made->parameters[engines[name]] = answerOf([&] { return engine->getAvailableParameters(); });
    }
  }
  for (const auto& [voice, language] : answerOf([&] { return manager->getAllAvailableVoices(); })) {
    const bool isDefault = voice == answerOf([&, &spoken = language] {
                             return manager->getDefaultVoiceForLanguage(spoken);
                           });
    made->voices.push_back({voice, language, engines[language], isDefault});
  }
  made->firstLanguage = answerOf([&] { return manager->getCurrentLanguage(); });
  return made;
}

ChosenVoice EngineHost::choose(const std::string& written, const std::string& voice,
                               const std::set<std::string>& avoided) {
  if (!manager) {
    failToChoose("No speech engine can be used." + (lastError.empty() ? "" : " " + lastError));
  }
  const std::string voiceLanguage = catalogue->languageOf(voice);
  if (!voice.empty() && voiceLanguage.empty()) {
    failToChoose("There is no voice " + voice + ".");
  }
  const std::string wanted = written.empty() ? voiceLanguage : written;
  lastError.clear();
  for (const std::string& language : catalogue->candidates(wanted)) {
    const std::string own = voiceLanguage == language ? voice : "";
    if (auto chosen = tryLanguage(language, own, avoided)) {
      return *chosen;
    }
  }
  failToChoose("No engine speaks " + (wanted.empty() ? "without a language" : wanted) + "." +
               (lastError.empty() ? "" : " " + lastError));
}

std::optional<ChosenVoice> EngineHost::tryLanguage(const std::string& language,
                                                   const std::string& voice,
                                                   const std::set<std::string>& avoided) {
  if (auto chosen = tryManager(manager, language, voice, avoided)) {
    return chosen;
  }
  for (const Package& package : packageManifests()) {
    if (package.language == language) {
      if (auto chosen = tryManager(otherManager(package.engine), language, "", avoided)) {
        return chosen;
      }
    }
  }
  return std::nullopt;
}

std::optional<ChosenVoice> EngineHost::tryManager(
    const std::shared_ptr<TextToSpeechManager>& candidate, const std::string& language,
    const std::string& voice, const std::set<std::string>& avoided) {
  if (!candidate) {
    return std::nullopt;
  }
  try {
    const std::string engine = candidate->xGetEngine(language)->getName();
    if (avoided.count(engine) != 0) {
      return std::nullopt;
    }
    const std::string taken =
        voice.empty() ? candidate->getDefaultVoiceForLanguage(language) : voice;
    if (ready && ready->manager == candidate && ready->language == language &&
        ready->voice == taken) {
      return ready;
    }
    ready.reset();
    candidate->setCurrentLanguage(language);
    if (taken != candidate->getCurrentVoice()) {
      candidate->setCurrentVoice(taken);
    }
    ready = ChosenVoice{candidate, language, taken, engine};
  } catch (...) {  // the next engine is asked
    lastError = describeFailure(std::current_exception());
    return std::nullopt;
  }
  return ready;
}

const std::vector<EngineHost::Package>& EngineHost::packageManifests() {
  if (!manifests) {
    manifests.emplace();
    for (const zu::PackageInfo& info : installed) {
      const boost::filesystem::path manifest = boost::filesystem::path(info.path) / "manifest.xml";
      manifests->push_back({info, manager->getParamFromXml("engine", manifest),
                            manager->getParamFromXml("language", manifest)});
    }
  }
  return *manifests;
}

std::shared_ptr<TextToSpeechManager> EngineHost::otherManager(const std::string& engine) {
  const auto found = others.find(engine);
  if (found != others.end()) {
    return found->second;
  }
  std::vector<zu::PackageInfo> own;
  for (const Package& package : packageManifests()) {
    if (package.engine == engine) {
      own.push_back(package.info);
    }
  }
  return others[engine] = makeManager(own);
}

}  // namespace KQ::speaking
