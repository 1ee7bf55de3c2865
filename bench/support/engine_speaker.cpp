#include <boost/make_shared.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <stdexcept>
#include <zu/log.hpp>
#include <zu/path.hpp>

#include "support/speaker.hpp"

namespace bench {

namespace {

class EngineSpeaker : public Speaker, public TextToSpeechEngineCallbackInterface {
 public:
  EngineSpeaker(const std::string& package, bool withDictionary) {
    zu::log::setLevel(zu::log::Level::error);
    zu::path::addLibDir(BUILT_LIBRARIES);
    manager =
        std::make_unique<KQ::TextToSpeechManager>(this, boost::make_shared<KQ::TTSLanguageInfo>());
    if (!manager->initialize({{"", "", package}})) {
      throw std::runtime_error("the engine cannot be used");
    }
    if (withDictionary) {
      manager->loadDictionary();
    }
  }

  void speak(const std::string& text, const std::function<bool()>& atAudio) override {
    listener = &atAudio;
    manager->startSynthetizer(text);
  }

  void stop() override { manager->stopSynthetizer(); }

 private:
  bool onAudio(const std::int16_t* /*samples*/, std::size_t /*count*/, int /*rate*/) override {
    return (*listener)();
  }

  std::unique_ptr<KQ::TextToSpeechManager> manager;
  const std::function<bool()>* listener = nullptr;
};

}  // namespace

SpeakerPointer makeEngineSpeaker(const std::string& package, bool withDictionary) {
  return std::make_unique<EngineSpeaker>(package, withDictionary);
}

}  // namespace bench
