// An engine plug-in that speaks a tone, a tenth of a second for each word. A word in square
// brackets makes it misbehave.
#include <fcntl.h>
#include <unistd.h>

#include <boost/thread/condition_variable.hpp>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>

namespace {

constexpr int samplingRate = 22050;
constexpr std::size_t samplesPerWord = samplingRate / 10;

struct Package {
  std::string language;
  std::string voice;
  bool outdated;
};

/// Hangs for ever if the environment's TONE_HANGS_IN names this place, and then creates the file
/// TONE_HANGS.
void mayHang(const std::string& place) {
  const char* const chosen = std::getenv("TONE_HANGS_IN");
  if (chosen == nullptr || place != chosen) {
    return;
  }
  close(open(std::getenv("TONE_HANGS"), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  for (;;) {
    pause();
  }
}

class ToneEngine : public KQ::TextToSpeechEngine {
 public:
  using KQ::TextToSpeechEngine::TextToSpeechEngine;

 protected:
  std::string xGetName() const override { return "Tone 1.0"; }

  bool xInitialize(const std::vector<zu::PackageInfo>& installed) override {
    mayHang("initialize");
    for (const zu::PackageInfo& package : installed) {
      const boost::filesystem::path manifest = package.path + "/manifest.xml";
      if (getParamFromXml("engine", manifest) != "tone") {
        continue;
      }
      packages.push_back({getParamFromXml("language", manifest), getParamFromXml("voice", manifest),
                          package.version < "1.0"});
    }
    if (!packages.empty()) {
      xSetCurrentLanguage(packages.front().language);
    }
    return true;
  }
  bool xTerminate() override {
    mayHang("terminate");
    return true;
  }

  void xStartSynthetizer(const std::string& text) override {
    setStopped(false);
    position = 0;
    callback->onStart();
    const SpeechEnd end = speak(text);
    callback->onEnd(end);
  }
  void xStopSynthetizer() override {
    mayHang("stop");
    setStopped(true);
  }
  void xPauseSynthetizer() override {}
  void xRestartSynthetizer() override {}

  void xSetParameter(const std::string& name, const float& value) override {
    if (name != "speed") {
      throw KQError("Tone", "setParameter", "there is no " + name, nullptr, 0);
    }
    if (value < 50 || value > 200) {
      throw KQError("Tone", "setParameter", "speed must be from 50 to 200", nullptr, 0);
    }
    speed = value;
  }
  void xResetSpeed() override { speed = 100; }
  float xGetParameter(const std::string&) const override { return speed; }
  std::vector<std::string> xGetAvailableParameters() const override { return {"speed"}; }

  void xSetCurrentLanguage(const std::string& language) override {
    for (const Package& package : packages) {
      if (package.language != language) {
        continue;
      }
      currentLanguage = language;
      currentVoice = package.voice;
      return;
    }
  }
  void xSetCurrentVoice(const std::string& voice) override { currentVoice = voice; }
  std::string xGetCurrentLanguage() const override { return currentLanguage; }
  std::string xGetCurrentVoice() const override { return currentVoice; }
  std::string xGetDefaultVoiceForLanguage(const std::string& language) const override {
    for (const Package& package : packages) {
      if (package.language == language) {
        return package.voice;
      }
    }
    return "";
  }
  std::vector<std::string> xGetOldLanguagesDetected() const override {
    std::vector<std::string> old;
    for (const Package& package : packages) {
      if (package.outdated) {
        old.push_back(package.language);
      }
    }
    return old;
  }
  std::map<std::string, std::string> xGetAvailableVoices() const override {
    std::map<std::string, std::string> voices;
    for (const Package& package : packages) {
      voices[package.voice] = package.language;
    }
    return voices;
  }
  std::vector<std::string> xGetAvailableLanguages() const override {
    std::vector<std::string> languages;
    for (const Package& package : packages) {
      languages.push_back(package.language);
    }
    return languages;
  }
  int xGetCurrentSamplingRate() const override { return samplingRate; }
  int xTestTextEncoding(const std::string&, const std::string&) override { return 1; }

 private:
  void setStopped(bool value) {
    const boost::unique_lock<boost::mutex> lock(stateMutex);
    stopped = value;
    stateChanged.notify_all();
  }

  SpeechEnd speak(const std::string& text) {
    std::size_t begin = 0;
    while ((begin = text.find_first_not_of(" \n", begin)) != std::string::npos) {
      const std::size_t end = std::min(text.find_first_of(" \n", begin), text.size());
      const SpeechEnd how = speakWord(text.substr(begin, end - begin), begin);
      if (how != SpeechEnd::finished) {
        return how;
      }
      begin = end;
    }
    return SpeechEnd::finished;
  }

  SpeechEnd speakWord(const std::string& word, std::size_t offset) {
    int mark = 0;
    if (std::sscanf(word.c_str(), "\\mrk=%d\\", &mark) == 1) {
      callback->onMark(mark, position);
      return SpeechEnd::finished;
    }
    if (word == "[throw]") {
      throw KQError("Tone", "start", "the tone\nbroke", nullptr, 0);
    }
    if (word == "[foreign]") {
      throw 42;
    }
    if (word == "[failed]") {
      return SpeechEnd::failed;
    }
    if (word == "[hang]") {
      return waitForStop();
    }
    if (word == "[deaf]") {
      mayHang("start");
    }
    if (word == "[print]") {
      return print(stdout, "printed by the engine");
    }
    if (word == "[voice]") {
      return print(stderr, currentVoice);
    }
    if (word == "[speed]") {
      return print(stderr, std::to_string(speed).substr(0, 4));
    }
    callback->onWord({offset, word.size(), position});
    SpeechEnd end = tone(word == "[rate]" ? samplingRate / 2 : samplingRate);
    while (word == "[endless]" && end == SpeechEnd::finished) {
      end = tone(samplingRate);
    }
    return end;
  }

  SpeechEnd waitForStop() {
    boost::unique_lock<boost::mutex> lock(stateMutex);
    while (!stopped) {
      stateChanged.wait(lock);
    }
    return SpeechEnd::stopped;
  }

  static SpeechEnd print(FILE* stream, const std::string& text) {
    std::fprintf(stream, "%s\n", text.c_str());
    std::fflush(stream);
    return SpeechEnd::finished;
  }

  SpeechEnd tone(int rate) {
    std::vector<std::int16_t> samples(samplesPerWord);
    for (std::int16_t& sample : samples) {
      sample = static_cast<std::int16_t>(8000 * std::sin(0.125 * static_cast<double>(position++)));
    }
    if (!callback->onAudio(samples.data(), samples.size(), rate)) {
      return SpeechEnd::stopped;
    }
    const boost::unique_lock<boost::mutex> lock(stateMutex);
    return stopped ? SpeechEnd::stopped : SpeechEnd::finished;
  }

  std::vector<Package> packages;
  std::string currentLanguage;
  std::string currentVoice;
  float speed = 100;
  std::uint64_t position = 0;

  boost::mutex stateMutex;
  boost::condition_variable stateChanged;
  bool stopped = false;
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo) {
  mayHang("load_plugin");
  return new ToneEngine(callback, languageInfo);
}

__attribute__((visibility("default"))) void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
}
