// Speaks a text with Flite and prints what it hears. Arguments: a package, the text, and the
// folders in which plug-ins are looked for, the first one first.

#include <boost/make_shared.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <string>
#include <zu/log.hpp>
#include <zu/path.hpp>

namespace {

class Printer : public TextToSpeechEngineCallbackInterface {
 public:
  explicit Printer(std::string spokenText) : text(std::move(spokenText)) {}

  bool onAudio(const std::int16_t* samples, std::size_t /*count*/, int /*rate*/) override {
    if (samples == nullptr) {
      std::cout << "no samples\n" << std::flush;
    } else if (hasEnded) {
      std::cout << "late audio\n" << std::flush;
    }
    return true;
  }
  void onWord(const SpeechWord& word) override {
    std::cout << (hasEnded ? "late " : "") << text.substr(word.textOffset, word.textLength) << '\n'
              << std::flush;
  }
  void onEnd(SpeechEnd end) override {
    std::cout << "end " << static_cast<int>(end) << '\n' << std::flush;
    hasEnded = true;
  }

 private:
  const std::string text;
  bool hasEnded = false;
};

}  // namespace

int main(int count, char** arguments) {
  zu::log::setLevel(zu::log::Level::warning);
  for (int i = count - 1; i > 2; --i) {
    zu::path::addLibDir(arguments[i]);
  }
  Printer printer(arguments[2]);
  KQ::TextToSpeechManager manager(&printer, boost::make_shared<KQ::TTSLanguageInfo>());
  try {
    if (!manager.initialize({{"package", "1.0.0", arguments[1]}})) {
      std::cout << "no engine\n";
      return 1;
    }
    manager.setParameter("speed", 150);
    manager.startSynthetizer(arguments[2]);
    std::cout << manager.getAllAvailableVoices().size() << " voices\n" << std::flush;
  } catch (const KQError& error) {
    std::cout << "error of " << error.getDescription().size() << " bytes\n";
    return 2;
  } catch (...) {
    std::cout << "foreign exception\n";
    return 4;
  }
  return 0;
}
