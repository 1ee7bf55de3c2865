#include <kqtts/speaker.hpp>

namespace KQ {

SpeechListener::SpeechListener() = default;
SpeechListener::~SpeechListener() = default;

void SpeechListener::onStart(const Utterance& /*utterance*/) {}
void SpeechListener::onVoice(const Utterance& /*utterance*/, const SpeechVoice& /*voice*/) {}
bool SpeechListener::onAudio(const Utterance& /*utterance*/, const SpeechAudio& /*audio*/) {
  return true;
}
void SpeechListener::onWord(const Utterance& /*utterance*/, const SpeechWord& /*word*/) {}
void SpeechListener::onMark(const Utterance& /*utterance*/, const SpeechMark& /*mark*/) {}
void SpeechListener::onPhoneme(const Utterance& /*utterance*/, const SpeechPhoneme& /*phoneme*/) {}
void SpeechListener::onViseme(const Utterance& /*utterance*/, const SpeechViseme& /*viseme*/) {}
void SpeechListener::onPause(const Utterance& /*utterance*/) {}
void SpeechListener::onResume(const Utterance& /*utterance*/) {}
void SpeechListener::onInterrupt(const Utterance& /*utterance*/) {}
void SpeechListener::onEnd(const Utterance& /*utterance*/, UtteranceEnd /*end*/) {}
bool SpeechListener::wantsPhonemes() const {
  return true;
}

}  // namespace KQ
