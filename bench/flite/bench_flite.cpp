extern "C" {
#include <flite/flite.h>
}

#include <atomic>
#include <stdexcept>

#include "support/engine_benchmark.hpp"

extern "C" {
cst_voice* register_cmu_us_slt(const char* folder);
void unregister_cmu_us_slt(cst_voice* voice);
}

namespace {

/// Bare Flite with the package's default voice, streaming sentence by sentence. stop() sets a flag
/// that the callback checks.
class BareSpeaker : public bench::Speaker {
 public:
  BareSpeaker() : voice((flite_init(), register_cmu_us_slt(nullptr))) {
    if (voice == nullptr) {
      throw std::runtime_error("Flite cannot be used");
    }
    cst_audio_streaming_info* const stream = new_audio_streaming_info();
    constexpr int buffersPerSecond = 50;  // the same as in the engine
    stream->min_buffsize = get_param_int(voice->features, "sample_rate", 16000) / buffersPerSecond;
    stream->asc = onAudio;
    stream->userdata = this;
    feat_set(voice->features, "streaming_info", audio_streaming_info_val(stream));
  }

  ~BareSpeaker() override { unregister_cmu_us_slt(voice); }

  void speak(const std::string& text, const std::function<bool()>& atAudio) override {
    stopped = false;
    listener = &atAudio;
    // A stream: Flite reads a text to its end before the first sound.
    const auto symbols = [&](const char* name) {
      return get_param_string(voice->features, name, nullptr);
    };
    cst_tokenstream* const stream =
        ts_open_string(text.c_str(), symbols("text_whitespace"), symbols("text_singlecharsymbols"),
                       symbols("text_prepunctuation"), symbols("text_postpunctuation"));
    flite_ts_to_speech(stream, voice, "none");  // closes it
  }

  void stop() override { stopped = true; }

 private:
  static int onAudio(const cst_wave* /*wave*/, int /*start*/, int /*size*/, int /*last*/,
                     cst_audio_streaming_info* stream) {
    auto* const self = static_cast<BareSpeaker*>(stream->userdata);
    if (!self->stopped && (*self->listener)()) {
      return CST_AUDIO_STREAM_CONT;
    }
    // Otherwise Flite would speak the sentences after this one.
    feat_set_int(stream->utt->features, "Interrupted", 1);
    return CST_AUDIO_STREAM_STOP;
  }

  cst_voice* const voice;
  std::atomic<bool> stopped{false};
  const std::function<bool()>* listener = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  return bench::runEngineBenchmark(
      argc, argv,
      {BUILT_PACKAGE, [] { return std::make_unique<BareSpeaker>(); }, {}, 10, 5, 400, 100000});
}
