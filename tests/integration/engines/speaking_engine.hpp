#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <boost/filesystem/directory.hpp>
#include <boost/make_shared.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/built_plugins.hpp"
#include "support/speech_recorder.hpp"

namespace test {

/// The facts about an engine that the tests of all engines need.
struct EngineUnderTest {
  std::string plugin;                        ///< "nuance"
  std::string name;                          ///< as getName() returns it
  std::string library;                       ///< of the synthesiser, as in the process's memory map
  std::vector<zu::PackageInfo> packages;     ///< the first one's default voice is English
  std::vector<zu::PackageInfo> allPackages;  ///< all that the engine can use
  std::string voice;                         ///< the one that speaks in the tests, in English
  std::string otherLanguage;                 ///< of `otherVoice`
  std::string otherVoice;
  int samplingRate;
  std::size_t lengthOfStrangeTexts;  ///< spoken in a second or two
  int strangeTexts;                  ///< random ones, spoken in a second or two
};

/// Each program defines it.
const EngineUnderTest& engineUnderTest();

/// A package of the build tree.
inline zu::PackageInfo builtPackage(const std::string& name) {
  return {"", "", std::string(BUILT_DATA) + "/packages/" + name};
}

/// A package of the build tree that is used only if a host asks for it.
inline zu::PackageInfo optionalPackage(const std::string& name) {
  return {"", "", std::string(BUILT_DATA) + "/optional-packages/" + name};
}

/// Returns the packages in use, in the order of their names.
inline std::vector<zu::PackageInfo> builtPackages() {
  std::vector<zu::PackageInfo> packages;
  for (const auto& entry :
       boost::filesystem::directory_iterator(std::string(BUILT_DATA) + "/packages")) {
    packages.push_back(builtPackage(entry.path().filename().string()));
  }
  std::sort(packages.begin(), packages.end(),
            [](const auto& lhs, const auto& rhs) { return lhs.path < rhs.path; });
  return packages;
}

/// Returns one table for all tests, because each new one logs its languages.
inline boost::shared_ptr<KQ::TTSLanguageInfo> languageTable() {
  static const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  return table;
}

/// The engine, loaded as a plug-in; not yet initialised.
class LoadedEngine {
 public:
  explicit LoadedEngine(TextToSpeechEngineCallbackInterface* host) {
    searchBuiltPlugins();
    engine = plugins.load(engineUnderTest().plugin, host, languageTable());
    if (engine == nullptr) {
      throw std::runtime_error("the plug-in does not load");
    }
  }
  ~LoadedEngine() {
    engine->terminate();
    plugins.unload(&engine);
  }
  LoadedEngine(const LoadedEngine&) = delete;
  LoadedEngine& operator=(const LoadedEngine&) = delete;

  KQ::TextToSpeechEngine* operator->() const { return engine; }
  KQ::TextToSpeechEngine& operator*() const { return *engine; }

 private:
  KQ::TtsPluginManager plugins;
  KQ::TextToSpeechEngine* engine = nullptr;
};

/// An initialised engine and its host.
struct SpeakingEngine {
  SpeechRecorder host;
  LoadedEngine engine{&host};

  explicit SpeakingEngine(const std::vector<zu::PackageInfo>& packages) {
    if (!engine->initialize(packages)) {
      throw std::runtime_error("the engine does not initialise");
    }
  }
  SpeakingEngine() : SpeakingEngine(engineUnderTest().packages) {
    engine->setCurrentVoice(engineUnderTest().voice);
  }

  KQ::TextToSpeechEngine* operator->() const { return &*engine; }
};

/// Unmaps the synthesiser's library, which a plug-in may keep in the process, unless an engine uses
/// it.
struct ForgottenSynthesiser {
  ForgottenSynthesiser() {
    const std::string library = engineUnderTest().library + ".so.1";
    bool isKept = true;
    while (isKept) {
      void* const handle = ::dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD);
      isKept = handle != nullptr && ::dlclose(handle) == 0 && ::dlclose(handle) == 0;
    }
  }
};

/// An engine that sounds like in a new process, for tests that compare samples: eSpeak NG sounds a
/// little different after other utterances.
struct FreshEngine : private ForgottenSynthesiser, public SpeakingEngine {
  using SpeakingEngine::SpeakingEngine;
};

/// The samples of a text, spoken as in a new process, in English if not set up otherwise.
inline Samples spoken(const std::string& text,
                      const std::function<void(KQ::TextToSpeechEngine&)>& setUp = nullptr) {
  FreshEngine speaking;
  if (setUp) {
    setUp(*speaking.engine);
  }
  speaking->startSynthetizer(text);
  return speaking.host.samples();
}

/// A text that is far too long for any test to speak to its end.
inline std::string longText() {
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += "This sentence is one of very many that all sound alike. ";
  }
  return text;
}

}  // namespace test
