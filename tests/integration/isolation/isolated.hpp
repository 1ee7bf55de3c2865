#pragma once

#include <signal.h>

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

/// Has a hook of the faulty engine misbehave.
inline zu::PackageInfo fault(const std::string& hook, const std::string& how) {
  return {"fault", hook, how};
}

/// A host that may do something at each word.
class WordRecorder : public SpeechRecorder {
 public:
  void onWord(const SpeechWord& word) override {
    SpeechRecorder::onWord(word);
    if (atWord) {
      atWord(word);
    }
  }

  std::function<void(const SpeechWord&)> atWord;
};

/// The faulty engine, in a process of its own.
class IsolatedFaultyEngine {
 public:
  explicit IsolatedFaultyEngine(const std::vector<zu::PackageInfo>& packages = {})
      : IsolatedFaultyEngine(true, packages) {}

  IsolatedFaultyEngine(bool hasHost, const std::vector<zu::PackageInfo>& packages) {
    zu::path::addLibDir(std::string(FAULTY_ENGINES) + "/engines");
    zu::path::addLibDir(std::string(FAULTY_ENGINES) + "/isolated");
    engine = plugins.load("faulty", hasHost ? &host : nullptr, languages);
    if (engine == nullptr) {
      throw std::runtime_error("the plug-in does not load");
    }
    isInitialized = engine->initialize(packages);
  }
  ~IsolatedFaultyEngine() { plugins.unload(&engine); }
  IsolatedFaultyEngine(const IsolatedFaultyEngine&) = delete;
  IsolatedFaultyEngine& operator=(const IsolatedFaultyEngine&) = delete;

  KQ::TextToSpeechEngine* operator->() const { return engine; }

  pid_t process() const { return static_cast<pid_t>(engine->getParameter("pid")); }
  void killProcess(int signal = SIGKILL) const { ::kill(process(), signal); }

  WordRecorder host;
  boost::shared_ptr<KQ::TTSLanguageInfo> languages = boost::make_shared<KQ::TTSLanguageInfo>();
  bool isInitialized = false;

 private:
  KQ::TtsPluginManager plugins;
  KQ::TextToSpeechEngine* engine = nullptr;
};

}  // namespace test
