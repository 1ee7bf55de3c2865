#pragma once

#include <algorithm>
#include <boost/filesystem/directory.hpp>
#include <boost/make_shared.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <stdexcept>
#include <string>
#include <vector>
#include <zu/path.hpp>

#include "support/speech_recorder.hpp"

namespace test {

/// A package of the build tree.
inline zu::PackageInfo builtPackage(const std::string& name) {
  return {"", "", std::string(BUILT_PACKAGES) + "/" + name};
}

/// All of them, in the order of their names.
inline std::vector<zu::PackageInfo> builtPackages() {
  std::vector<zu::PackageInfo> packages;
  for (const auto& entry : boost::filesystem::directory_iterator(BUILT_PACKAGES)) {
    packages.push_back(builtPackage(entry.path().filename().string()));
  }
  std::sort(packages.begin(), packages.end(),
            [](const auto& lhs, const auto& rhs) { return lhs.path < rhs.path; });
  return packages;
}

/// One for all: each new one logs its languages.
inline boost::shared_ptr<KQ::TTSLanguageInfo> languageTable() {
  static const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  return table;
}

/// The engine, loaded as a plug-in; not yet initialised.
class LoadedEngine {
 public:
  explicit LoadedEngine(TextToSpeechEngineCallbackInterface* host) {
    zu::path::addLibDir(BUILT_LIBRARIES);
    engine = plugins.load("nuance", host, languageTable());
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

  explicit SpeakingEngine(const std::vector<zu::PackageInfo>& packages = {builtPackage("english"),
                                                                          builtPackage("french")}) {
    if (!engine->initialize(packages)) {
      throw std::runtime_error("the engine does not initialise");
    }
  }

  KQ::TextToSpeechEngine* operator->() const { return &*engine; }
};

/// What an engine says to a text, in English if not set up otherwise.
inline Samples spoken(const std::string& text,
                      const std::function<void(KQ::TextToSpeechEngine&)>& setUp = nullptr) {
  SpeakingEngine speaking;
  if (setUp) {
    setUp(*speaking.engine);
  }
  speaking->startSynthetizer(text);
  return speaking.host.samples();
}

/// Far longer than any test lets it be spoken.
inline std::string longText() {
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += "This sentence is one of very many that all sound alike. ";
  }
  return text;
}

}  // namespace test
