#pragma once

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <string>

#include "plugin_folder.hpp"
#include "support/fake_engine.hpp"

namespace test {

/// The module of the manager's errors.
constexpr const char* managerModule = "TextToSpeechManager";

/// Makes the manager's fields and hooks public, and adds fake engines to its registry.
class TestManager : public KQ::TextToSpeechManager {
 public:
  explicit TestManager(TextToSpeechEngineCallbackInterface* engineCallback = nullptr,
                       const boost::shared_ptr<KQ::TTSLanguageInfo>& table = nullptr)
      : TextToSpeechManager(engineCallback, table) {}

  /// Registers an active engine, and lets the manager's own initialisation fill the tables from all
  /// engines of the registry. That loads no plug-in: none is installed meanwhile.
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

  /// Puts an engine into the registry as it is. The tables do not change.
  void registerEngine(const std::string& plugin, const boost::shared_ptr<FakeEngine>& engine) {
    const boost::lock_guard<boost::mutex> lock(tablesMutex);
    engines[plugin] = engine;
  }

  /// Whether a thread, this one included, holds managerMutex.
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
