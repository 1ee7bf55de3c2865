#include <boost/config.hpp>
#include <memory>

#include "espeak_ng/espeak_synthesizer.hpp"
#include "support/speech_engine.hpp"

namespace {

KQ::engines::EngineTraits traits() {
  return {KQ::engines::espeakName, "espeak-ng", "1.0", "engine.espeak-ng",
          [] { return std::make_shared<KQ::engines::EspeakSynthesizer>(); }};
}

}  // namespace

extern "C" {

BOOST_SYMBOL_EXPORT KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo) {
  return new KQ::engines::SpeechEngine(traits(), callback, std::move(languageInfo));
}

BOOST_SYMBOL_EXPORT void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
}
