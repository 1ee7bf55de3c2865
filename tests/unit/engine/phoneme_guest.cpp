#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>

// Like an engine in its own library: reports a phoneme if the host has the interface for it.
extern "C" __attribute__((visibility("default"))) bool reportPhoneme(
    TextToSpeechEngineCallbackInterface* callback) {
  auto* phonemes = dynamic_cast<KQ::PhonemeCallback*>(callback);
  if (phonemes == nullptr) {
    return false;
  }
  phonemes->onPhoneme({"\u0259", 441, 882});
  return true;
}
