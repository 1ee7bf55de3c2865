// An engine that does what its text and its packages tell it.
//
// It speaks each word as 1000 samples at 10 kHz. Some words are orders: see Order. A package whose
// uuid is "fault" has a hook misbehave: its version names the hook, its path what it does.

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <boost/config.hpp>
#include <boost/filesystem/directory.hpp>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <zu/log.hpp>

namespace {

[[noreturn]] void hang() {
  for (;;) {
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
}

void misbehave(const std::string& how) {
  if (how == "crash") {
    std::signal(SIGSEGV, SIG_DFL);  // a sanitizer would exit
    std::raise(SIGSEGV);
  } else if (how == "exit") {
    _exit(3);
  } else if (how == "hang") {
    hang();
  } else if (how == "throw") {
    throw std::runtime_error("a foreign exception");
  } else if (how == "throwText") {
    throw "a text that is thrown";
  } else if (how == "refuse") {
    throw KQError("Faulty", "method", "an error of the engine", "faulty.cpp", 7);
  } else if (how == "lie") {
    // What no child says.
    const char nonsense[] = "this is no packet at all, but has the length of one";
    ::send(3, nonsense, sizeof nonsense, 0);
    hang();
  }
}

class FaultyEngine : public KQ::TextToSpeechEngine {
 public:
  FaultyEngine(TextToSpeechEngineCallbackInterface* host,
               const boost::shared_ptr<KQ::TTSLanguageInfo>& table)
      : TextToSpeechEngine(host, table) {
    if (table) {
      table->addLanguage("Elvish", "qya_XX");
    }
  }

  void enableFilter(bool enable) override {
    TextToSpeechEngine::enableFilter(enable);
    filterSeen = enable;
  }

 protected:
  std::string xGetName() const override { return "Faulty"; }

  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override {
    for (const zu::PackageInfo& package : packages) {
      if (package.uuid == "fault") {
        faults[package.version] = package.path;
      }
    }
    obey("initialize");
    language = "English";
    voice = "english-one";
    return true;
  }

  bool xTerminate() override {
    obey("terminate");
    ++stops;
    language.clear();
    return true;
  }

  void xStartSynthetizer(const std::string& text) override {
    const int before = stops;
    position = 0;
    if (callback != nullptr) {
      callback->onStart();
    }
    const bool isSaid = say(text, [&] { return stops != before; });
    if (callback != nullptr) {
      callback->onEnd(isSaid ? SpeechEnd::finished : SpeechEnd::stopped);
    }
  }

  void xStopSynthetizer() override {
    obey("stop");
    ++stops;
  }
  void xPauseSynthetizer() override {}
  void xRestartSynthetizer() override {}

  void xSetParameter(const std::string& name, const float& value) override {
    obey("setParameter");
    misbehave(name);
    parameters[name] = value;
  }
  void xResetSpeed() override { parameters["speed"] = 100; }
  float xGetParameter(const std::string& name) const override {
    obey("getParameter");
    if (name == "pid") {
      return static_cast<float>(::getpid());
    }
    if (name == "filter") {
      return filterSeen ? 1 : 0;
    }
    if (name == "dictionaries") {
      return static_cast<float>(dictionaries.size());
    }
    if (name == "descriptors") {
      return static_cast<float>(descriptorCount());
    }
    const auto found = parameters.find(name);
    if (found == parameters.end()) {
      throw KQError("Faulty", "getParameter", "there is no " + name, nullptr, 0);
    }
    return found->second;
  }

  void xSetCurrentLanguage(const std::string& chosen) override {
    language = chosen;
    voice = chosen == "English" ? "english-one" : "elvish-one";
  }
  void xSetCurrentVoice(const std::string& chosen) override { voice = chosen; }
  std::vector<std::string> xGetOldLanguagesDetected() const override { return {}; }
  std::map<std::string, std::string> xGetAvailableVoices() const override {
    if (faults.count("voices") != 0) {
      std::map<std::string, std::string> many;
      for (int i = 0; i < 1000000; ++i) {
        many.emplace_hint(many.end(), std::to_string(i + 1000000), "English");
      }
      return many;
    }
    return {{"english-one", "English"}, {"english-two", "English"}, {"elvish-one", "Elvish"}};
  }
  std::vector<std::string> xGetAvailableLanguages() const override {
    obey("languages");
    return {"English", "Elvish"};
  }
  std::vector<std::string> xGetAvailableParameters() const override { return {"speed"}; }
  int xGetCurrentSamplingRate() const override { return 10000; }
  int xTestTextEncoding(const std::string& first, const std::string& second) override {
    zu::log::write(zu::log::Level::warning, "faulty", first, "faulty.cpp", "testTextEncoding", 12);
    zu::log::write(zu::log::Level::verbose, "faulty", second, "faulty.cpp", "testTextEncoding", 13);
    std::cout << "this must not be seen\n" << std::flush;
    return 2;
  }
  std::string xGetCurrentLanguage() const override { return language; }
  std::string xGetCurrentVoice() const override { return voice; }
  void xLoadDictionary() override { dictionaries.insert(language); }
  void xUnloadDictionary() override { dictionaries.erase(language); }
  void xApplyEffect(const std::string& effect, bool flag) override {
    parameters["effect " + effect] = flag ? 1 : 0;
  }

 private:
  void obey(const std::string& hook) const {
    const auto found = faults.find(hook);
    if (found != faults.end()) {
      misbehave(found->second);
    }
  }

  static std::size_t descriptorCount() {
    std::size_t count = 0;
    for (const auto& file : boost::filesystem::directory_iterator("/proc/self/fd")) {
      static_cast<void>(file);
      ++count;
    }
    return count;
  }

  bool say(const std::string& text, const std::function<bool()>& isStopped) {
    std::size_t begin = text.find_first_not_of(' ');
    while (begin < text.size()) {
      const std::size_t end = std::min(text.find_first_of(" .", begin), text.size());
      const std::string word = text.substr(begin, end - begin);
      if (isStopped() || !sayWord(word, {begin, end - begin, position})) {
        return false;
      }
      begin = text.find_first_not_of(" .", end);
    }
    return true;
  }

  bool sayWord(const std::string& word, const SpeechWord& place) {
    misbehave(word);
    if (callback == nullptr) {
      return true;
    }
    if (word.front() == '\\') {
      const bool isMark = word.substr(0, 5) == "\\mrk=";
      if (isMark) {
        callback->onMark(std::stoi(word.substr(5)), position);
      }
      return true;
    }
    callback->onWord(place);
    const std::vector<std::int16_t> audio(500, static_cast<std::int16_t>(word.size()));
    for (int i = 0; i < 2; ++i) {
      if (!callback->onAudio(audio.data(), audio.size(), 10000)) {
        return false;
      }
      position += audio.size();
    }
    return true;
  }

  std::map<std::string, std::string> faults;  ///< hook to what it does
  std::map<std::string, float> parameters{{"speed", 100.F}};
  std::set<std::string> dictionaries;
  std::string language;
  std::string voice;
  bool filterSeen = true;
  std::atomic<int> stops{0};
  std::uint64_t position = 0;
};

}  // namespace

extern "C" {

BOOST_SYMBOL_EXPORT KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languages) {
  return new FaultyEngine(callback, languages);
}

BOOST_SYMBOL_EXPORT void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
}
