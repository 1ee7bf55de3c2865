#pragma once

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <string>

#include "plugin_folder.hpp"
#include "support/fake_engine.hpp"

namespace test {

/// The module text of the manager's errors.
constexpr const char* managerModule = "TextToSpeechManager";

/// Makes the manager's fields and hooks public, and adds fake engines to its registry.
class TestManager : public KQ::TextToSpeechManager {
 public:
  explicit TestManager(TextToSpeechEngineCallbackInterface* engineCallback = nullptr,
                       const boost::shared_ptr<KQ::TTSLanguageInfo>& table = nullptr)
      : TextToSpeechManager(engineCallback, table) {}

  /// Registers an active engine. The manager's own initialisation then fills the tables from all
  /// engines of the registry. It loads no plug-in, because none is installed meanwhile.
  boost::shared_ptr<FakeEngine> add(const std::string& plugin,
                                    const std::vector<std::string>& languages,
                                    const std::map<std::string, std::string>& allVoices) {
    auto engine = boost::make_shared<FakeEngine>(plugin);
    engine->languages = languages;
    engine->allVoices = allVoices;
    engine->voices.clear();
    engine->currentLanguage = languages.empty() ? "" : languages.front();
    engine->initialize({});
    registerEngine(plugin, engine);
    const PluginFolder withoutPlugins;
    xInitialize({});
    for (const auto& entry : engines) {
      static_cast<FakeEngine&>(*entry.second).takeCalls();
    }
    return engine;
  }

  /// Puts an engine into the registry and does not change the tables.
  void registerEngine(const std::string& plugin, const boost::shared_ptr<FakeEngine>& engine) {
    const boost::lock_guard<boost::mutex> lock(tablesMutex);
    engines[plugin] = engine;
  }

  /// Whether any thread, including this one, holds managerMutex.
  bool isLocked() {
    const bool taken = managerMutex.try_lock();
    if (taken) {
      managerMutex.unlock();
    }
    return !taken;
  }

  using TextToSpeechManager::active;
  using TextToSpeechManager::availableVoices;
  using TextToSpeechManager::callback;
  using TextToSpeechManager::currentLanguage;
  using TextToSpeechManager::engineCallback;
  using TextToSpeechManager::engines;
  using TextToSpeechManager::filterEnabled;
  using TextToSpeechManager::languageEngines;
  using TextToSpeechManager::languageInfo;
  using TextToSpeechManager::managerMutex;
  using TextToSpeechManager::paused;
  using TextToSpeechManager::pluginManager;
  using TextToSpeechManager::sharedLanguageInfo;
  using TextToSpeechManager::tablesMutex;
  using TextToSpeechManager::talking;
  using TextToSpeechManager::voiceLanguages;
  using TextToSpeechManager::xGetAllAvailableVoices;
  using TextToSpeechManager::xGetAvailableVoices;
  using TextToSpeechManager::xGetCurrentLanguage;
  using TextToSpeechManager::xGetName;
  using TextToSpeechManager::xInitialize;
  using TextToSpeechManager::xSetCurrentLanguage;
  using TextToSpeechManager::xSetCurrentVoice;
  using TextToSpeechManager::xTerminate;
  using TextToSpeechManager::xTestTextEncoding;
};

}  // namespace test
