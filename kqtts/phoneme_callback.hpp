#pragma once

#include <cstdint>
#include <kqtts/export.hpp>
#include <string_view>

namespace KQ {

/// A sound of the text that is spoken.
struct SpeechPhoneme {
  std::string_view name;         ///< IPA, UTF-8, valid during the call only; "" is a silence
  std::uint64_t samplePosition;  ///< samples from the start of the utterance to the sound
  std::uint64_t
      sampleCount;  ///< samples that the sound lasts; 0 if it lasts until the next phoneme
                    ///< or, after the last one, until the end of the audio
};

/// What an engine reports of the sounds of an utterance, to hosts that want to know: a second,
/// optional interface of the host's callback object.
///
/// A host derives its callback from TextToSpeechEngineCallbackInterface and from this class. An
/// engine asks by `dynamic_cast` from the former, and makes no effort where the answer is null; an
/// engine that does not know its sounds reports none.
///
/// The rules of the callback's other events hold: after onStart, before onEnd, from the thread that
/// called startSynthetizer(), before the audio that holds the phoneme's first sample. Phonemes come
/// in the order of their positions. Their order relative to words and marks at the same sample is
/// the engine's.
class KQTTS_EXPORT PhonemeCallback {
 public:
  PhonemeCallback();
  PhonemeCallback(const PhonemeCallback&) = delete;
  PhonemeCallback& operator=(const PhonemeCallback&) = delete;
  virtual ~PhonemeCallback();

  /// A sound begins. An exception that it throws ends the utterance as failed and passes through
  /// startSynthetizer().
  virtual void onPhoneme(const SpeechPhoneme& phoneme) { static_cast<void>(phoneme); }
};

}  // namespace KQ
