#pragma once

#include <boost/make_shared.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <string>

#include "support/fake_engine.hpp"

namespace test {

/// The module that the manager's errors name.
constexpr const char* managerModule = "TextToSpeechManager";

/// Shows the manager's fields and hooks, and takes fake engines into its registry.
class TestManager : public KQ::TextToSpeechManager {
 public:
  explicit TestManager(TextToSpeechEngineCallbackInterface* engineCallback = nullptr,
                       const boost::shared_ptr<KQ::TTSLanguageInfo>& table = nullptr)
      : TextToSpeechManager(engineCallback, table) {}

  /// Registers an active engine with its languages and voices, as initialize() would have done.
  boost::shared_ptr<FakeEngine> add(const std::string& plugin,
                                    const std::vector<std::string>& languages,
                                    const std::map<std::string, std::string>& allVoices) {
    auto engine = boost::make_shared<FakeEngine>(plugin);
    engine->languages = languages;
    engine->allVoices = allVoices;
    engine->currentLanguage = languages.empty() ? "" : languages.front();
    engine->initialize({});
    engine->takeCalls();
    engines[plugin] = engine;
    for (const std::string& language : languages) {
      languageEngines[language] = plugin;
    }
    voiceLanguages.insert(allVoices.begin(), allVoices.end());
    return engine;
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
  using TextToSpeechManager::xGetName;
  using TextToSpeechManager::xInitialize;
  using TextToSpeechManager::xSetCurrentLanguage;
  using TextToSpeechManager::xSetCurrentVoice;
  using TextToSpeechManager::xTerminate;
  using TextToSpeechManager::xTestTextEncoding;
};

}  // namespace test
