// An engine plug-in that keeps the contract, except for one fault that the environment variable
// SPECIMEN_FAULT selects.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

constexpr int samplingRate = 16000;

bool faulty(const char* fault) {
  const char* named = std::getenv("SPECIMEN_FAULT");
  return named != nullptr && std::string(named) == fault;
}

[[noreturn]] void hang() {
  while (true) {
    pause();
  }
}

/// Opens this library again, and never closes it.
void holdThisLibrary() {
  static const char inThisLibrary = 0;
  Dl_info library = {};
  dladdr(&inThisLibrary, &library);
  static_cast<void>(dlopen(library.dli_fname, RTLD_NOW));
}

/// Speaks each byte as 20 ms of audio. Its packages are those whose manifest names the engine
/// "specimen".
class SpecimenEngine : public KQ::TextToSpeechEngine {
 public:
  SpecimenEngine(TextToSpeechEngineCallbackInterface* callback,
                 boost::shared_ptr<KQ::TTSLanguageInfo> languages)
      : TextToSpeechEngine(callback, languages) {
    if (faulty("active from the start")) {
      active = true;
    }
    if (faulty("leaks a file")) {
      static_cast<void>(open("/dev/null", O_RDONLY));
    }
  }

 protected:
  std::string xGetName() const override { return faulty("no name") ? "" : "Specimen"; }

  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override {
    if (faulty("crash in initialize")) {
      std::abort();
    }
    if (faulty("throws int from initialize")) {
      throw 42;
    }
    if (faulty("initialised once only") && used) {
      return false;
    }
    used = true;
    voices.clear();
    for (const zu::PackageInfo& package : packages) {
      addPackage(package.path + "/manifest.xml");
    }
    if (voices.empty()) {
      return false;
    }
    if (faulty("empty language")) {
      voices["Nemo"] = "";
    }
    if (faulty("voice of an unoffered language")) {
      hiddenLanguage = "French";
    }
    xSetCurrentLanguage("English");
    if (faulty("current language not offered")) {
      language = "Latin";
    }
    if (faulty("leaks a thread")) {
      std::thread([] { hang(); }).detach();
    }
    return true;
  }

  bool xTerminate() override {
    if (faulty("never terminates")) {
      return false;
    }
    xStopSynthetizer();
    return true;
  }

  void xStartSynthetizer(const std::string& text) override {
    if (faulty("hang in start")) {
      hang();
    }
    if (faulty("throws int from start")) {
      throw 42;
    }
    if (faulty("stdout noise")) {
      std::puts("speaking");
    }
    if (faulty("needs a callback")) {
      callback->onStart();
    }
    TextToSpeechEngineCallbackInterface nobody;
    TextToSpeechEngineCallbackInterface& host = callback == nullptr ? nobody : *callback;
    if (faulty("crash at bad text") && text.find('\xff') != std::string::npos) {
      std::abort();
    }
    if (faulty("events from its own thread")) {
      std::thread([&] { speak(text, host); }).join();
    } else {
      speak(text, host);
    }
  }

  void xStopSynthetizer() override {
    if (faulty("hang in stop")) {
      hang();
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (!faulty("ignores stop")) {
      ++stops;
    }
    changed.notify_all();
  }
  void xPauseSynthetizer() override {
    const std::lock_guard<std::mutex> lock(mutex);
    held = !faulty("ignores pause");
  }
  void xRestartSynthetizer() override {
    const std::lock_guard<std::mutex> lock(mutex);
    held = faulty("never restarts");
    changed.notify_all();
  }

  void xSetParameter(const std::string& name, const float& value) override {
    requireSpeed(name);
    if (value < 50 || value > 200) {
      refuse("speed must be from 50 to 200");
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (!faulty("parameter not read back")) {
      speed = value;
    }
  }
  void xResetSpeed() override {
    const std::lock_guard<std::mutex> lock(mutex);
    speed = 100;
  }
  float xGetParameter(const std::string& name) const override {
    requireSpeed(name);
    const std::lock_guard<std::mutex> lock(mutex);
    return speed;
  }
  std::vector<std::string> xGetAvailableParameters() const override { return {"speed"}; }

  void xSetCurrentLanguage(const std::string& wanted) override {
    const std::lock_guard<std::mutex> lock(mutex);
    language = wanted;
    voice = defaultVoice(faulty("wrong default voice") ? "French" : wanted);
  }
  void xSetCurrentVoice(const std::string& wanted) override {
    const std::lock_guard<std::mutex> lock(mutex);
    voice = wanted;
    language = voices.at(wanted);
  }
  std::string xGetCurrentLanguage() const override {
    const std::lock_guard<std::mutex> lock(mutex);
    return language;
  }
  std::string xGetCurrentVoice() const override {
    const std::lock_guard<std::mutex> lock(mutex);
    return voice;
  }
  std::string xGetDefaultVoiceForLanguage(const std::string& wanted) const override {
    if (wanted == "No Such Name" && faulty("foreign error for unknown")) {
      throw "unknown";
    }
    return defaultVoice(wanted);
  }
  void xSetDefaultVoice() override {
    const std::lock_guard<std::mutex> lock(mutex);
    voice = defaultVoice(language);
  }
  std::vector<std::string> xGetOldLanguagesDetected() const override { return {}; }
  std::vector<std::string> xGetAvailableLanguages() const override {
    std::vector<std::string> languages;
    for (const auto& [name, itsLanguage] : voices) {
      if (itsLanguage != hiddenLanguage) {
        languages.push_back(itsLanguage);
      }
    }
    return languages;
  }
  std::map<std::string, std::string> xGetAllAvailableVoices() const override { return voices; }
  std::map<std::string, std::string> xGetAvailableVoices() const override {
    const std::lock_guard<std::mutex> lock(mutex);
    return {{defaultVoice(language), language}};
  }
  int xGetCurrentSamplingRate() const override { return samplingRate; }
  int xTestTextEncoding(const std::string&, const std::string&) override { return 1; }

 private:
  [[noreturn]] static void refuse(const std::string& why) {
    if (faulty("refuses by another type")) {
      throw std::runtime_error(why);
    }
    throw KQError("Specimen", "setParameter", why, nullptr, 0);
  }
  static void requireSpeed(const std::string& name) {
    if (name != "speed") {
      refuse("there is no " + name);
    }
  }

  void addPackage(const boost::filesystem::path& manifest) {
    if (getParamFromXml("engine", manifest) != "specimen") {
      return;
    }
    voices[getParamFromXml("voice", manifest)] = getParamFromXml("language", manifest);
  }

  std::string defaultVoice(const std::string& wanted) const {
    for (const auto& [name, itsLanguage] : voices) {
      if (itsLanguage == wanted) {
        return name;
      }
    }
    return "";
  }

  void speak(const std::string& text, TextToSpeechEngineCallbackInterface& host) {
    std::unique_lock<std::mutex> lock(mutex);
    const unsigned stopsBefore = stops;
    lock.unlock();
    host.onStart();
    SpeechEnd end = SpeechEnd::failed;
    try {
      end = speakBytes(text, host, stopsBefore);
    } catch (...) {
      host.onEnd(end);
      if (faulty("swallows the host exception")) {
        return;
      }
      throw;
    }
    if (!faulty("no end event")) {
      host.onEnd(end);
    }
    if (faulty("two end events")) {
      host.onEnd(end);
    }
  }

  SpeechEnd speakBytes(const std::string& text, TextToSpeechEngineCallbackInterface& host,
                       unsigned stopsBefore) {
    const std::vector<std::int16_t> samples(samplingRate / 50);
    std::uint64_t position = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (waitWhileHeld(stopsBefore)) {
        return SpeechEnd::stopped;
      }
      const bool isWord = text[i] >= '0' && text[i] <= '9';
      if (isWord && !faulty("word after its audio")) {
        host.onWord({i, 1, position});
      }
      const int rate = faulty("other sampling rate") ? 8000 : samplingRate;
      const bool more = host.onAudio(samples.data(), samples.size(), rate);
      if (!more && !faulty("ignores refused audio")) {
        return SpeechEnd::stopped;
      }
      if (isWord && faulty("word after its audio")) {
        host.onWord({i, 1, position});
      }
      if (faulty("word outside the text")) {
        host.onWord({text.size(), 1, position + samples.size()});
      }
      position += samples.size();
    }
    return SpeechEnd::finished;
  }

  /// \return whether it was stopped
  bool waitWhileHeld(unsigned stopsBefore) {
    std::unique_lock<std::mutex> lock(mutex);
    const auto ready = [&] { return !held || stops != stopsBefore; };
    if (faulty("resumes by itself")) {
      changed.wait_for(lock, std::chrono::milliseconds(20), ready);
    } else if (faulty("stop does not wake the paused")) {
      changed.wait(lock, [&] { return !held; });
    } else {
      changed.wait(lock, ready);
    }
    return stops != stopsBefore;
  }

  mutable std::mutex mutex;
  std::condition_variable changed;
  unsigned stops = 0;
  bool held = false;
  bool used = false;
  float speed = 100;
  std::string language;
  std::string voice;
  std::map<std::string, std::string> voices;  ///< set by initialize()
  std::string hiddenLanguage = "none";
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languages) {
  if (faulty("exit in load")) {
    std::exit(3);
  }
  if (faulty("null engine")) {
    return nullptr;
  }
  if (faulty("stays in memory")) {
    holdThisLibrary();
  }
  return new SpecimenEngine(callback, languages);
}

__attribute__((visibility("default"))) void unload_plugin(KQ::TextToSpeechEngine** engine) {
  if (faulty("crash in unload")) {
    std::abort();
  }
  delete *engine;
  *engine = nullptr;
}
}
