// A plug-in whose hooks do almost nothing, so that the benchmark measures the calls to them.

#include <boost/shared_ptr.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using Voices = std::map<std::string, std::string>;

/// Offers a language and a voice for each package whose uuid is the plug-in's name. `version` is
/// the voice's name and `path` its language.
class SilentEngine : public KQ::TextToSpeechEngine {
 public:
  using TextToSpeechEngine::TextToSpeechEngine;

 protected:
  std::string xGetName() const override { return PLUGIN_NAME; }

  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override {
    for (const zu::PackageInfo& package : packages) {
      if (package.uuid == PLUGIN_NAME) {
        languages.push_back(package.path);
        voices.emplace(package.version, package.path);
      }
    }
    current = languages.empty() ? "" : languages.front();
    return true;
  }
  bool xTerminate() override { return true; }

  /// Returns when the host's onStart() returns.
  void xStartSynthetizer(const std::string& /*text*/) override { callback->onStart(); }
  void xStopSynthetizer() override {}
  void xPauseSynthetizer() override {}
  void xRestartSynthetizer() override {}

  void xSetParameter(const std::string& /*name*/, const float& value) override { speed = value; }
  void xResetSpeed() override { speed = 100; }
  float xGetParameter(const std::string& /*name*/) const override { return speed; }

  void xSetCurrentLanguage(const std::string& language) override { current = language; }
  void xSetCurrentVoice(const std::string& /*voice*/) override {}
  std::vector<std::string> xGetOldLanguagesDetected() const override { return {}; }
  Voices xGetAvailableVoices() const override { return voices; }
  std::vector<std::string> xGetAvailableLanguages() const override { return languages; }
  std::vector<std::string> xGetAvailableParameters() const override { return {"speed"}; }
  int xGetCurrentSamplingRate() const override { return 22050; }
  int xTestTextEncoding(const std::string& /*first*/, const std::string& /*second*/) override {
    return 0;
  }
  std::string xGetCurrentLanguage() const override { return current; }

 private:
  std::vector<std::string> languages;
  Voices voices;
  std::string current;
  float speed = 100;
};

}  // namespace

#define PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))

PLUGIN_EXPORT KQ::TextToSpeechEngine* load_plugin(TextToSpeechEngineCallbackInterface* callback,
                                                  boost::shared_ptr<KQ::TTSLanguageInfo> table) {
  return new SilentEngine(callback, std::move(table));
}

PLUGIN_EXPORT void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
