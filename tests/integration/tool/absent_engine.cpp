// A plug-in that returns no engine. It hides a real plug-in of the same name.
#include <boost/shared_ptr.hpp>

class TextToSpeechEngineCallbackInterface;
namespace KQ {
class TextToSpeechEngine;
class TTSLanguageInfo;
}  // namespace KQ

extern "C" __attribute__((visibility("default"))) KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface*, boost::shared_ptr<KQ::TTSLanguageInfo>) {
  return nullptr;
}
