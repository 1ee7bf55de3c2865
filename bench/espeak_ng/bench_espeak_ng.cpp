#include <espeak-ng/espeak_ng.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "support/engine_benchmark.hpp"

namespace {

/// The length of an audio buffer, the same as in the engine.
constexpr int bufferMilliseconds = 20;

/// Bare eSpeak NG. stop() sets a flag that the callback checks.
class BareSpeaker : public bench::Speaker {
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

  // eSpeak NG can be terminated a second time only after a command to its thread.
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
    const unsigned int markup = text.front() == '<' ? espeakSSML : 0;
    espeak_ng_Synthesize(text.c_str(), text.size() + 1, 0, POS_CHARACTER, 0,
                         espeakCHARS_UTF8 | espeakENDPAUSE | markup, nullptr, this);
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

}  // namespace

int main(int argc, char** argv) {
  return bench::runEngineBenchmark(
      argc, argv,
      {BUILT_PACKAGE,
       [] { return std::make_unique<BareSpeaker>(); },
       {"<speak>", "<mark name=\"1\"/>", "<prosody volume=\"80\">", "</prosody>", "</speak>"},
       20,
       50,
       1000,
       20000});
}
