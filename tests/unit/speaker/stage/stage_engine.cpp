#include <atomic>
#include <boost/algorithm/string/case_conv.hpp>
#include <cmath>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <map>
#include <string>
#include <vector>

#include "stage.hpp"

namespace {

using test::stage::Script;

/// An engine whose speech can be foretold: each letter is a stretch of a tone, whose height the
/// letter gives; each word is reported, and each mark. It offers the languages of the packages
/// whose manifests name its plug-in.
class StageEngine : public KQ::TextToSpeechEngine {
 public:
  StageEngine(TextToSpeechEngineCallbackInterface* callback,
              boost::shared_ptr<KQ::TTSLanguageInfo> table)
      : TextToSpeechEngine(callback, std::move(table)), script(test::stage::script(PLUGIN_NAME)) {}

 protected:
  std::string xGetName() const override { return std::string("Stage ") + PLUGIN_NAME; }

  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override {
    languages.clear();
    for (const zu::PackageInfo& package : packages) {
      const std::string manifest = package.path + "/manifest.xml";
      if (getParamFromXml("engine", manifest) == PLUGIN_NAME) {
        languages.push_back(getParamFromXml("language", manifest));
        if (package.version == "0.9") {
          outdated.push_back(languages.back());
        }
      }
    }
    if (!script.isUsable || languages.empty()) {
      return false;
    }
    language = languages.front();
    voice = voiceOf(language);
    return true;
  }

  bool xTerminate() override { return true; }

  void xStartSynthetizer(const std::string& text) override {
    test::stage::note(std::string(PLUGIN_NAME) + " " + language + ": " + text);
    isStopped = false;
    if (script.atStart) {
      script.atStart(text);
    }
    position = 0;
    report().onStart();
    SpeechEnd end = SpeechEnd::finished;
    if (!silence() || !speak(text) || !silence()) {
      end = SpeechEnd::stopped;
    }
    report().onEnd(end);
  }

  void xStopSynthetizer() override {
    if (script.atStop) {
      script.atStop();
    }
    isStopped = true;
  }
  void xPauseSynthetizer() override {}
  void xRestartSynthetizer() override {}

  void xSetParameter(const std::string& name, const float& value) override {
    requireParameter(name);
    speed = value;
  }
  void xResetSpeed() override { speed = 100; }
  float xGetParameter(const std::string& name) const override {
    requireParameter(name);
    return speed;
  }
  std::vector<std::string> xGetAvailableParameters() const override { return {"speed"}; }

  void xSetCurrentLanguage(const std::string& name) override {
    language = name;
    voice = voiceOf(name);
  }
  void xSetCurrentVoice(const std::string& name) override { voice = name; }
  std::string xGetCurrentLanguage() const override { return language; }
  std::string xGetCurrentVoice() const override { return voice; }
  std::string xGetDefaultVoiceForLanguage(const std::string& name) const override {
    return voiceOf(name);
  }
  std::vector<std::string> xGetOldLanguagesDetected() const override { return outdated; }
  std::vector<std::string> xGetAvailableLanguages() const override { return languages; }
  std::map<std::string, std::string> xGetAvailableVoices() const override {
    return {{voiceOf(language), language}};
  }
  std::map<std::string, std::string> xGetAllAvailableVoices() const override {
    std::map<std::string, std::string> voices;
    for (const std::string& name : languages) {
      voices[voiceOf(name)] = name;
      voices[voiceOf(name) + "-2"] = name;
    }
    return voices;
  }
  int xGetCurrentSamplingRate() const override { return script.samplingRate; }
  int xTestTextEncoding(const std::string& /*first*/, const std::string& /*second*/) override {
    return 1;
  }

 private:
  static std::string voiceOf(const std::string& name) {
    return boost::to_lower_copy(name) + "-" + PLUGIN_NAME;
  }

  void requireParameter(const std::string& name) const {
    if (name != "speed") {
      throw KQError(getName(), "setParameter", "There is no parameter " + name + ".", nullptr, 0);
    }
  }

  TextToSpeechEngineCallbackInterface& report() const { return *callback; }

  bool silence() {
    return script.silenceAtEnds == 0 || emit(std::vector<std::int16_t>(script.silenceAtEnds, 0));
  }

  bool speak(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size()) {
      if (text[at] == '\\') {
        const std::size_t close = text.find('\\', at + 1);
        reportTag(text.substr(at + 1, close - at - 1));
        at = close == std::string::npos ? text.size() : close + 1;
        continue;
      }
      const std::size_t end = std::min(text.find_first_of(" \n\\", at), text.size());
      if (end > at && !speakWord(text.substr(at, end - at), at)) {
        return false;
      }
      at = end;
      if (at < text.size() && text[at] != '\\') {
        ++at;
      }
    }
    return true;
  }

  void reportTag(const std::string& tag) {
    if (tag.substr(0, 4) == "mrk=") {
      report().onMark(std::stoi(tag.substr(4)), position);
    }
  }

  bool speakWord(const std::string& word, std::size_t offset) {
    if (script.atWord) {
      script.atWord(word);
    }
    report().onWord({offset, word.size(), position});
    std::vector<std::int16_t> samples;
    auto* const phonemes = dynamic_cast<KQ::PhonemeCallback*>(callback);
    for (const char letter : word) {
      if (script.reportsPhonemes && phonemes != nullptr) {
        phonemes->onPhoneme({std::string(1, letter), position + samples.size(), 0});
      }
      for (std::size_t i = 0; i < script.samplesPerLetter; ++i) {
        const double phase = static_cast<double>(i) * (letter % 32 + 1) / 40.0;
        samples.push_back(static_cast<std::int16_t>(script.amplitude * std::cos(phase)));
      }
    }
    return emit(samples);
  }

  bool emit(const std::vector<std::int16_t>& samples) {
    if (isStopped) {
      return false;
    }
    if (script.isSoundless) {
      position += samples.size();
      return true;
    }
    position += samples.size();
    return report().onAudio(samples.data(), samples.size(), script.samplingRate);
  }

  Script& script;
  std::vector<std::string> languages;
  std::vector<std::string> outdated;
  std::string language;
  std::string voice;
  float speed = 100;
  std::atomic<bool> isStopped{false};
  std::uint64_t position = 0;
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback, boost::shared_ptr<KQ::TTSLanguageInfo> table) {
  return new StageEngine(callback, std::move(table));
}

__attribute__((visibility("default"))) void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}

}  // extern "C"
