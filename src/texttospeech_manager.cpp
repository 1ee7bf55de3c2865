#include <algorithm>
#include <boost/filesystem/path.hpp>
#include <boost/make_shared.hpp>
#include <kq/error.hpp>
#include <kqtts/plugin_names.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <memory>
#include <optional>
#include <utility>

#include "engine_libraries.hpp"
#include "log_sites.hpp"
#include "manager_locks.hpp"

namespace KQ {

namespace {

// No message uses this category, and the spelling is intended: hosts set levels by this name.
const LogCategory category("textospeechmanager");

constexpr const char* managerName = "TextToSpeechManager";

using EnginePtr = boost::shared_ptr<TextToSpeechEngine>;

KQError managerError(const char* method, const std::string& description) {
  return {managerName, method, description, nullptr, 0};
}

KQError notSupported(const char* method, const std::string& what) {
  return managerError(method, what + " is not currently supported or not installed.");
}

KQError noEngineFound(const std::string& language) {
  // This method text is part of the contract; consumers match on it.
  return managerError("xGetDefaultVoiceForLanguage",
                      "No engine found for " + language + " language");
}

/// Calls an operation of an engine. Every call of an engine of the registry must go through this
/// function, because the engine may throw an exception whose code is in its library.
template <typename Operation>
decltype(auto) route(const EnginePtr& engine, Operation operation) {
  try {
    return operation(*engine);
  } catch (...) {
    EngineLibraries::keepOpenForException(engine);
    throw;
  }
}

using StringsGetter = std::vector<std::string> (TextToSpeechEngine::*)() const;

std::vector<std::string> concatenate(const std::vector<std::pair<std::string, EnginePtr>>& registry,
                                     StringsGetter getter) {
  std::vector<std::string> all;
  for (const auto& entry : registry) {
    const std::vector<std::string> some =
        route(entry.second, [&](const TextToSpeechEngine& target) { return (target.*getter)(); });
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

void overwrite(std::map<std::string, std::string>& table,
               const std::map<std::string, std::string>& entries) {
  for (const auto& [key, value] : entries) {
    table[key] = value;
  }
}

}  // namespace

TextToSpeechManager::TextToSpeechManager(TextToSpeechEngineCallbackInterface* callback,
                                         boost::shared_ptr<TTSLanguageInfo> languageInfo)
    : TextToSpeechEngine(callback, languageInfo),
      sharedLanguageInfo(std::move(languageInfo)),
      engineCallback(callback),
      libraries(boost::make_shared<EngineLibraries>(pluginManager)) {}

TextToSpeechManager::~TextToSpeechManager() {
  if (libraries->areOfParent()) {
    abandonEngines();
  }
  terminate();
  libraries->detach();
}

// Registry ------------------------------------------------------------------------------------

bool TextToSpeechManager::xLoadPlugin(const std::string& name,
                                      const std::vector<zu::PackageInfo>& packages,
                                      boost::shared_ptr<TTSLanguageInfo> languageInfo) {
  refuseIfOfParent(*libraries, "xLoadPlugin");
  std::unique_ptr<TextToSpeechEngine> loaded(libraries->load(name, engineCallback, languageInfo));
  if (!loaded) {
    return false;
  }
  if (!loaded->initialize(packages)) {
    log(sites::initializeRefused, "Unable to initialize " + name + " engine");
    TextToSpeechEngine* engine = loaded.release();
    libraries->unload(&engine);
    return false;
  }
  EnginePtr engine = libraries->own(std::move(loaded));
  {
    const TablesLock lock(*libraries, tablesMutex);
    engines[name].swap(engine);
  }
  libraries->retire(std::move(engine));
  return true;
}

bool TextToSpeechManager::xUnloadPlugin(const std::string& name) {
  EnginePtr engine = registered(name);
  if (!engine) {
    log(sites::nothingToUnload, "Unable to unload " + name + " engine.");
    return false;
  }
  route(engine, [](TextToSpeechEngine& target) { target.terminate(); });
  {
    const TablesLock lock(*libraries, tablesMutex);
    const auto entry = engines.find(name);
    if (entry != engines.end() && entry->second == engine) {
      engines.erase(entry);
    }
  }
  libraries->retire(std::move(engine));
  return true;
}

bool TextToSpeechManager::xTerminate() {
  if (libraries->areOfParent()) {
    abandonEngines();
    return true;
  }
  {
    const TablesLock lock(*libraries, tablesMutex);
    voiceLanguages.clear();
    languageEngines.clear();
  }
  xUnloadPlugin(plugin_names::log);
  xUnloadPlugin(plugin_names::aitalk);
  xUnloadPlugin(plugin_names::nuance);
  std::map<std::string, EnginePtr> remaining;
  {
    const TablesLock lock(*libraries, tablesMutex);
    remaining.swap(engines);
  }
  for (auto& entry : remaining) {
    libraries->retire(std::move(entry.second));
  }
  return true;
}

void TextToSpeechManager::abandonEngines() {
  // Kept for ever: an engine's destructor may wait for a thread that this process does not have.
  static_cast<void>(new auto(std::move(engines)));  // NOLINT(cppcoreguidelines-owning-memory)
  engines.clear();
  voiceLanguages.clear();
  languageEngines.clear();
  freeAfterFork(managerMutex);
  freeAfterFork(tablesMutex);
  freeAfterFork(mutex);
  libraries = boost::make_shared<EngineLibraries>(pluginManager);
}

EnginePtr TextToSpeechManager::registered(const std::string& name) const {
  const TablesLock lock(*libraries, tablesMutex);
  const auto entry = engines.find(name);
  return entry == engines.end() ? EnginePtr() : entry->second;
}

TextToSpeechManager::Registry TextToSpeechManager::registry() const {
  const TablesLock lock(*libraries, tablesMutex);
  return {engines.begin(), engines.end()};
}

std::string TextToSpeechManager::xGetName() const {
  return managerName;
}

// Initialisation ------------------------------------------------------------------------------

bool TextToSpeechManager::xInitialize(const std::vector<zu::PackageInfo>& packages) {
  if (libraries->areOfParent()) {
    abandonEngines();
  }
  const OperationLock lock(*libraries, managerMutex, "initialize");
  const bool aitalkLoaded = xLoadPlugin(plugin_names::aitalk, packages, sharedLanguageInfo);
  const bool nuanceLoaded = xLoadPlugin(plugin_names::nuance, packages, sharedLanguageInfo);
  if (nuanceLoaded || aitalkLoaded) {
    const EnginePtr first = registered(nuanceLoaded ? plugin_names::nuance : plugin_names::aitalk);
    if (!first) {
      throw managerError("initialize", "The engine was unloaded while it was being initialized.");
    }
    adoptCurrentLanguageOf(first);
  }
  xLoadPlugin(plugin_names::log, packages, sharedLanguageInfo);
  const auto loaded = registry();
  for (const auto& [name, engine] : loaded) {
    mergeTablesOf(name, engine);
  }
  return !loaded.empty();
}

void TextToSpeechManager::mergeTablesOf(const std::string& name, const EnginePtr& engine) {
  route(engine, [&](const TextToSpeechEngine& target) {
    const std::vector<std::string> languages = target.getAvailableLanguages();
    {
      const TablesLock lock(*libraries, tablesMutex);
      for (const std::string& language : languages) {
        languageEngines[language] = name;
      }
    }
    const std::map<std::string, std::string> allVoices = target.getAllAvailableVoices();
    {
      const TablesLock lock(*libraries, tablesMutex);
      overwrite(voiceLanguages, allVoices);
    }
    const std::map<std::string, std::string> voices = target.getAvailableVoices();
    const TablesLock lock(*libraries, tablesMutex);
    overwrite(availableVoices, voices);
  });
}

void TextToSpeechManager::adoptCurrentLanguageOf(const EnginePtr& engine) {
  std::string language =
      route(engine, [](const TextToSpeechEngine& target) { return target.getCurrentLanguage(); });
  const TablesLock lock(*libraries, tablesMutex);
  currentLanguage.swap(language);
}

// Language routing ----------------------------------------------------------------------------

EnginePtr TextToSpeechManager::findEngine(const std::string& language) const {
  const auto name = languageEngines.find(language);
  if (name == languageEngines.end()) {
    return {};
  }
  const auto entry = engines.find(name->second);
  return entry == engines.end() ? EnginePtr() : entry->second;
}

EnginePtr TextToSpeechManager::serving(const std::string& language) const {
  const TablesLock lock(*libraries, tablesMutex);
  return findEngine(language);
}

EnginePtr TextToSpeechManager::engineOf(const std::string& language) const {
  EnginePtr engine = findEngine(language);
  if (!engine) {
    throw notSupported("xGetEngine", language);
  }
  return engine;
}

EnginePtr TextToSpeechManager::currentEngineFor(const char* method) const {
  const TablesLock lock(*libraries, tablesMutex);
  if (currentLanguage.empty()) {
    throw managerError(method, "You need to specify a language first.");
  }
  return engineOf(currentLanguage);
}

// These functions throw when they have nothing left to release: each stack frame that an exception
// must clean up doubles its cost.

EnginePtr TextToSpeechManager::xGetEngine(const std::string& language) const {
  if (EnginePtr engine = serving(language)) {
    return engine;
  }
  throw notSupported("xGetEngine", language);
}

EnginePtr TextToSpeechManager::xGetRelevantEngine() const {
  const TablesLock lock(*libraries, tablesMutex);
  return engineOf(currentLanguage);
}

EnginePtr TextToSpeechManager::xGetRelevantEngine(const std::string& language) const {
  if (EnginePtr engine = serving(language)) {
    return engine;
  }
  throw noEngineFound(language);
}

void TextToSpeechManager::refuseIfOutdated(const std::string& language, const char* method) const {
  const std::vector<std::string> outdated = xGetOldLanguagesDetected();
  if (std::find(outdated.begin(), outdated.end(), language) == outdated.end()) {
    return;
  }
  // There is no blank between the two sentences, because consumers match on this text.
  throw managerError(
      method, "The " + language +
                  " language package installed in /home/kelo/behaviors/ is outdated." +
                  "Please contact Marvane hotline to get the updated version of this package.");
}

void TextToSpeechManager::xSetCurrentLanguage(const std::string& language) {
  Registry used;  // released after the lock: this may be the last call that uses an engine
  const OperationLock lock(*libraries, managerMutex, "setCurrentLanguage");
  used = registry();
  try {
    refuseIfOutdated(language, "xSetCurrentLanguage");
    route(xGetEngine(language),
          [&](TextToSpeechEngine& target) { target.setCurrentLanguage(language); });
    adoptCurrentLanguageOf(xGetEngine(language));
  } catch (const KQError& error) {
    adoptCurrentLanguageOf(xGetRelevantEngine());
    throw managerError("setCurrentLanguage", error.what());
  }
}

std::string TextToSpeechManager::xGetCurrentLanguage() const {
  const TablesLock lock(*libraries, tablesMutex);
  return currentLanguage;
}

std::vector<std::string> TextToSpeechManager::xGetAvailableLanguages() const {
  return concatenate(registry(), &TextToSpeechEngine::getAvailableLanguages);
}

std::vector<std::string> TextToSpeechManager::xGetOldLanguagesDetected() const {
  return concatenate(registry(), &TextToSpeechEngine::getOldLanguagesDetected);
}

std::optional<std::string> TextToSpeechManager::languageOf(const std::string& voice) const {
  const TablesLock lock(*libraries, tablesMutex);
  const auto entry = voiceLanguages.find(voice);
  return entry == voiceLanguages.end() ? std::nullopt : std::make_optional(entry->second);
}

std::string TextToSpeechManager::getLanguage(const std::string& voice) {
  const std::optional<std::string> language = languageOf(voice);
  if (!language) {
    throw notSupported("getLanguage", voice);
  }
  return *language;
}

// Voice routing -------------------------------------------------------------------------------

void TextToSpeechManager::xSetCurrentVoice(const std::string& voice) {
  const std::optional<std::string> language = languageOf(voice);
  if (!language) {
    throw managerError("setCurrentVoice", "Voice " + voice + " not found");
  }
  refuseIfOutdated(*language, "xSetCurrentVoice");
  if (*language != xGetCurrentLanguage()) {
    setCurrentLanguage(*language);
  }
  EnginePtr engine;  // released after the lock: this may be the last call that uses the engine
  const OperationLock lock(*libraries, managerMutex, "setCurrentVoice");
  try {
    engine = xGetRelevantEngine();
    route(engine, [&](TextToSpeechEngine& target) { target.setCurrentVoice(voice); });
  } catch (const KQError& error) {
    throw managerError("setCurrentVoice", error.what());
  }
}

std::map<std::string, std::string> TextToSpeechManager::xGetAvailableVoices() const {
  const TablesLock lock(*libraries, tablesMutex);
  return availableVoices;
}

std::map<std::string, std::string> TextToSpeechManager::xGetAllAvailableVoices() const {
  const TablesLock lock(*libraries, tablesMutex);
  return voiceLanguages;
}

std::string TextToSpeechManager::xGetCurrentVoice() const {
  return route(xGetRelevantEngine(),
               [](const TextToSpeechEngine& target) { return target.getCurrentVoice(); });
}

std::string TextToSpeechManager::xGetDefaultVoiceForLanguage(const std::string& language) const {
  if (const EnginePtr engine = serving(language)) {
    return route(engine, [&](const TextToSpeechEngine& target) {
      return target.getDefaultVoiceForLanguage(language);
    });
  }
  throw noEngineFound(language);
}

std::string TextToSpeechManager::xGetVoiceInstallDir(const std::string& voice) const {
  const std::optional<std::string> language = languageOf(voice);
  if (!language) {
    return "";
  }
  return route(xGetEngine(*language),
               [&](const TextToSpeechEngine& target) { return target.getVoiceInstallDir(voice); });
}

void TextToSpeechManager::setDefaultVoice() {
  route(xGetRelevantEngine(), [](TextToSpeechEngine& target) { target.setDefaultVoice(); });
}

// Forwarded operations ------------------------------------------------------------------------

// Method texts that name another operation are part of the contract; consumers match on them.

template <typename Operation>
auto TextToSpeechManager::routeExclusively(const char* method, Operation operation) const {
  EnginePtr engine;  // released after the lock, like above
  const OperationLock lock(*libraries, managerMutex, method);
  engine = currentEngineFor(method);
  return route(engine, operation);
}

void TextToSpeechManager::xStartSynthetizer(const std::string& text) {
  routeExclusively("startSynthetizer",
                   [&](TextToSpeechEngine& target) { target.startSynthetizer(text); });
}

void TextToSpeechManager::xStopSynthetizer() {
  route(currentEngineFor("stopSynthetizer"),
        [](TextToSpeechEngine& target) { target.stopSynthetizer(); });
}

void TextToSpeechManager::xPauseSynthetizer() {
  route(currentEngineFor("pauseSynthetizer"),
        [](TextToSpeechEngine& target) { target.pauseSynthetizer(); });
}

void TextToSpeechManager::xRestartSynthetizer() {
  route(currentEngineFor("pauseSynthetizer"),
        [](TextToSpeechEngine& target) { target.restartSynthetizer(); });
}

void TextToSpeechManager::xResetSpeed() {
  routeExclusively("resetSpeed", [](TextToSpeechEngine& target) { target.resetSpeed(); });
}

void TextToSpeechManager::xSetParameter(const std::string& name, const float& value) {
  routeExclusively("setParameter",
                   [&](TextToSpeechEngine& target) { target.setParameter(name, value); });
}

float TextToSpeechManager::xGetParameter(const std::string& name) const {
  return routeExclusively(
      "getParameter", [&](const TextToSpeechEngine& target) { return target.getParameter(name); });
}

std::vector<std::string> TextToSpeechManager::xGetAvailableParameters() const {
  return route(currentEngineFor("getAvailableParameters"),
               [](const TextToSpeechEngine& target) { return target.getAvailableParameters(); });
}

int TextToSpeechManager::xGetCurrentSamplingRate() const {
  return route(currentEngineFor("getAvailableParameters"),
               [](const TextToSpeechEngine& target) { return target.getCurrentSamplingRate(); });
}

int TextToSpeechManager::xTestTextEncoding(const std::string& first, const std::string& second) {
  return route(xGetRelevantEngine(),
               [&](TextToSpeechEngine& target) { return target.testTextEncoding(first, second); });
}

int TextToSpeechManager::testTextEncoding(const std::string& first, const std::string& second) {
  return route(xGetEngine(second),
               [&](TextToSpeechEngine& target) { return target.testTextEncoding(first, second); });
}

void TextToSpeechManager::enableFilter(bool enable) {
  route(currentEngineFor("pauseSynthetizer"),
        [&](TextToSpeechEngine& target) { target.enableFilter(enable); });
}

void TextToSpeechManager::loadEffect(const std::string& file) {
  route(currentEngineFor("pauseSynthetizer"),
        [&](TextToSpeechEngine& target) { target.loadEffect(boost::filesystem::path(file)); });
}

void TextToSpeechManager::applyEffect(const std::string& effect, bool flag) {
  route(currentEngineFor("pauseSynthetizer"),
        [&](TextToSpeechEngine& target) { target.applyEffect(effect, flag); });
}

void TextToSpeechManager::loadDictionary() {
  route(xGetRelevantEngine(), [](TextToSpeechEngine& target) { target.loadDictionary(); });
}

void TextToSpeechManager::unloadDictionary() {
  route(xGetRelevantEngine(), [](TextToSpeechEngine& target) { target.unloadDictionary(); });
}

void TextToSpeechManager::showDictionary() {
  route(xGetRelevantEngine(), [](TextToSpeechEngine& target) { target.showDictionary(); });
}

bool TextToSpeechManager::deleteFromDictionary(const std::string& first,
                                               const std::string& second) {
  return route(xGetRelevantEngine(), [&](TextToSpeechEngine& target) {
    return target.deleteFromDictionary(first, second);
  });
}

bool TextToSpeechManager::addToDictionary(const std::string& first, const std::string& second,
                                          const std::string& third, const std::string& fourth,
                                          const std::string& fifth) {
  return route(xGetRelevantEngine(), [&](TextToSpeechEngine& target) {
    return target.addToDictionary(first, second, third, fourth, fifth);
  });
}

}  // namespace KQ
