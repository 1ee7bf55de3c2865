// A plug-in that has no engine to give: it hides a real one of its name.
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
