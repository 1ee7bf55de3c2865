#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>

// What an engine does, from a library of its own: reports a sound if the host wants to know.
extern "C" __attribute__((visibility("default"))) bool reportPhoneme(
    TextToSpeechEngineCallbackInterface* callback) {
  auto* phonemes = dynamic_cast<KQ::PhonemeCallback*>(callback);
  if (phonemes == nullptr) {
    return false;
  }
  phonemes->onPhoneme({"\u0259", 441, 882});
  return true;
}
