#include "speaker.hpp"

#include <espeak-ng/espeak_ng.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <stdexcept>
#include <thread>
#include <zu/log.hpp>
#include <zu/path.hpp>

namespace bench {

namespace {

/// The length of audio buffer that the engine uses, too.
constexpr int bufferMilliseconds = 20;

class BareSpeaker : public Speaker {
 public:
  BareSpeaker() {
    espeak_ng_InitializePath(nullptr);
    espeak_ng_ERROR_CONTEXT context = nullptr;
    if (espeak_ng_Initialize(&context) != ENS_OK ||
        espeak_ng_InitializeOutput(ENOUTPUT_MODE_SYNCHRONOUS, bufferMilliseconds, nullptr) !=
            ENS_OK ||
        espeak_ng_SetVoiceByName("en-us") != ENS_OK) {
      throw std::runtime_error("eSpeak NG cannot be used");
    }
    espeak_SetSynthCallback(onBuffer);
  }

  // Without a command for its thread eSpeak NG cannot be ended a second time.
  ~BareSpeaker() override {
    espeak_ng_InitializeOutput(static_cast<espeak_ng_OUTPUT_MODE>(0), bufferMilliseconds, nullptr);
    espeak_ng_SetParameter(espeakRATE, espeakRATE_NORMAL, 0);
    while (espeak_IsPlaying() != 0) {
      std::this_thread::yield();
    }
    espeak_ng_Terminate();
  }

  void speak(const std::string& text, const std::function<bool()>& atAudio) override {
    stopped = false;
    listener = &atAudio;
    espeak_ng_Synthesize(text.c_str(), text.size() + 1, 0, POS_CHARACTER, 0,
                         espeakCHARS_UTF8 | espeakENDPAUSE, nullptr, this);
  }

  void stop() override { stopped = true; }

 private:
  static int onBuffer(short* samples, int count, espeak_EVENT* events) {
    auto* const self = static_cast<BareSpeaker*>(events->user_data);
    if (self->stopped) {
      return 1;
    }
    return samples == nullptr || count == 0 || (*self->listener)() ? 0 : 1;
  }

  std::atomic<bool> stopped{false};
  const std::function<bool()>* listener = nullptr;
};

class EngineSpeaker : public Speaker, public TextToSpeechEngineCallbackInterface {
 public:
  EngineSpeaker() {
    zu::log::setLevel(zu::log::Level::error);
    zu::path::addLibDir(BUILT_LIBRARIES);
    manager =
        std::make_unique<KQ::TextToSpeechManager>(this, boost::make_shared<KQ::TTSLanguageInfo>());
    if (!manager->initialize({{"", "", BUILT_PACKAGE}})) {
      throw std::runtime_error("the engine cannot be used");
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

std::unique_ptr<Speaker> makeBareSpeaker() {
  return std::make_unique<BareSpeaker>();
}

std::unique_ptr<Speaker> makeEngineSpeaker() {
  return std::make_unique<EngineSpeaker>();
}

}  // namespace bench
