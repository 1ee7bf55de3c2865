#pragma once

#include <cstddef>
#include <cstdint>
#include <zu/export.hpp>

/// How an utterance came to its end.
enum class SpeechEnd {
  finished,  ///< all of the text was spoken
  stopped,   ///< a stop, or a sink that wants no more audio, cut it short
  failed     ///< the engine could not go on
};

/// A word of the text that is spoken.
struct SpeechWord {
  std::size_t textOffset;        ///< first byte of the word in the text that was handed over
  std::size_t textLength;        ///< bytes of the word
  std::uint64_t samplePosition;  ///< samples from the start of the utterance to the word's audio
};

/// What an engine tells its host while it speaks. The host implements what it wants to hear.
///
/// Events of one utterance come in this order: onStart, then audio, words and marks, then exactly
/// one onEnd. A word or mark is told before the audio that holds its sample. All events of one
/// utterance come from one thread, the one that called startSynthetizer(), while that call runs;
/// utterances of different threads may overlap unless the engine serialises them. An implementation
/// may call stopSynthetizer(), pauseSynthetizer() and restartSynthetizer() from an event, but must
/// not start another utterance on the same engine. An exception that it throws ends the utterance
/// as failed and passes through startSynthetizer().
class ZU_EXPORT TextToSpeechEngineCallbackInterface {
 public:
  TextToSpeechEngineCallbackInterface();
  TextToSpeechEngineCallbackInterface(const TextToSpeechEngineCallbackInterface&) = delete;
  TextToSpeechEngineCallbackInterface& operator=(const TextToSpeechEngineCallbackInterface&) =
      delete;
  virtual ~TextToSpeechEngineCallbackInterface();

  /// An utterance begins.
  virtual void onStart() {}

  /// Audio of the utterance: mono, 16 bit signed, native byte order.
  /// \param samples       valid during the call only; not null unless `count` is 0
  /// \param count         number of samples
  /// \param samplingRate  in Hz, the same throughout an utterance
  /// \return false for "no more": the engine ends the utterance as stopped
  virtual bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
    static_cast<void>(samples);
    static_cast<void>(count);
    static_cast<void>(samplingRate);
    return true;
  }

  /// A mark that stands in the text.
  /// \param number          the mark's number
  /// \param samplePosition  samples from the start of the utterance to the mark
  virtual void onMark(int number, std::uint64_t samplePosition) {
    static_cast<void>(number);
    static_cast<void>(samplePosition);
  }

  /// A word begins.
  virtual void onWord(const SpeechWord& word) { static_cast<void>(word); }

  /// The utterance is over; nothing more comes of it.
  virtual void onEnd(SpeechEnd end) { static_cast<void>(end); }
};
