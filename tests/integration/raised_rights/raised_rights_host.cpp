// Speaks a word and prints how many samples that took, and logs where the user's
// dictionary is. Arguments: the folder of the plug-ins' folder, and a package.

#include <boost/make_shared.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <zu/log.hpp>
#include <zu/path.hpp>

namespace {

struct Counter : TextToSpeechEngineCallbackInterface {
  bool onAudio(const std::int16_t* /*samples*/, std::size_t count, int /*rate*/) override {
    samples += count;
    return true;
  }
  std::size_t samples = 0;
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    return 2;
  }
  zu::log::setLevel("tts.preference", zu::log::Level::silent);
  zu::path::addLibDir(arguments[1]);
  Counter counter;
  KQ::TextToSpeechManager manager(&counter, boost::make_shared<KQ::TTSLanguageInfo>());
  try {
    if (!manager.initialize({{"package", "1.0.0", arguments[2]}})) {
      return 1;
    }
    manager.showDictionary();
    manager.startSynthetizer("Hello");
  } catch (const KQError& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
  std::cout << counter.samples << " samples" << std::endl;
  return 0;
}
