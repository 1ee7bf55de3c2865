#pragma once

#include <cstdint>
#include <kqtts/export.hpp>
#include <string_view>

namespace KQ {

/// A sound of the spoken text.
struct SpeechPhoneme {
  std::string_view name;         ///< IPA, UTF-8, valid during the call only; "" is a silence
  std::uint64_t samplePosition;  ///< samples from the start of the utterance to the sound
  /// Samples that the sound lasts. 0 if it lasts until the next phoneme or, after the last one,
  /// until the end of the audio.
  std::uint64_t sampleCount;
};

/// A second, optional interface of the host's callback object. An engine calls it with the sounds
/// of an utterance.
///
/// A host derives its callback from TextToSpeechEngineCallbackInterface and from this class. An
/// engine finds this interface by `dynamic_cast` from the other one; if the result is null, it does
/// not compute phonemes. An engine that does not know its sounds makes no call.
///
/// The rules of the callback's other events apply: the calls come after onStart, before onEnd, in
/// the thread that called startSynthetizer(), and before the audio that has the phoneme's first
/// sample. Phonemes come in the order of their positions. The engine decides about their order
/// relative to words and marks at the same sample.
class KQTTS_EXPORT PhonemeCallback {
 public:
  PhonemeCallback();
  PhonemeCallback(const PhonemeCallback&) = delete;
  PhonemeCallback& operator=(const PhonemeCallback&) = delete;
  virtual ~PhonemeCallback();

  /// A sound begins. If this function throws, the utterance ends as failed, and the exception
  /// passes through startSynthetizer().
  virtual void onPhoneme(const SpeechPhoneme& phoneme) { static_cast<void>(phoneme); }
};

}  // namespace KQ
