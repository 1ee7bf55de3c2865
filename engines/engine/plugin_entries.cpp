#include "engine/plugin_entries.hpp"

#include <boost/config.hpp>
#include <utility>

extern "C" {

BOOST_SYMBOL_EXPORT KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo) {
  return new KQ::engines::SpeechEngine(KQ::engines::pluginTraits(), callback,
                                       std::move(languageInfo));
}

BOOST_SYMBOL_EXPORT void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
}
