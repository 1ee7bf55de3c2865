#pragma once

#include <cstddef>
#include <cstdint>
#include <zu/export.hpp>

/// Why an utterance ended.
enum class SpeechEnd {
  finished,  ///< the whole text was spoken
  stopped,   ///< the host stopped it, or onAudio() returned false
  failed     ///< an error ended it
};

/// A word of the text that is spoken.
struct SpeechWord {
  std::size_t textOffset;        ///< first byte of the word in the text given to startSynthetizer()
  std::size_t textLength;        ///< length of the word in bytes
  std::uint64_t samplePosition;  ///< samples from the start of the utterance to the word's audio
};

/// The events of an utterance. The host overrides the functions that it needs.
///
/// The events of one utterance come in this order: onStart, then audio, words and marks, then
/// exactly one onEnd. The event of a word or mark comes before the audio that holds its sample. The
/// thread that called startSynthetizer() emits all events of its utterance before that call
/// returns. Utterances of different threads may overlap unless the engine serialises them. An event
/// may call stopSynthetizer(), pauseSynthetizer() and restartSynthetizer(), but must not start
/// another utterance on the same engine. If an event throws, the utterance ends as failed and
/// startSynthetizer() throws the same exception.
class ZU_EXPORT TextToSpeechEngineCallbackInterface {
 public:
  TextToSpeechEngineCallbackInterface();
  TextToSpeechEngineCallbackInterface(const TextToSpeechEngineCallbackInterface&) = delete;
  TextToSpeechEngineCallbackInterface& operator=(const TextToSpeechEngineCallbackInterface&) =
      delete;
  virtual ~TextToSpeechEngineCallbackInterface();

  /// An utterance begins.
  virtual void onStart() {}

  /// Receives audio of the utterance: mono, 16 bit signed, native byte order.
  /// \param samples       valid during the call only; not null unless `count` is 0
  /// \param count         number of samples
  /// \param samplingRate  in Hz; the same throughout an utterance
  /// \return true to continue; false ends the utterance as stopped
  virtual bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
    static_cast<void>(samples);
    static_cast<void>(count);
    static_cast<void>(samplingRate);
    return true;
  }

  /// A mark of the text is reached.
  /// \param number          the mark's number
  /// \param samplePosition  samples from the start of the utterance to the mark
  virtual void onMark(int number, std::uint64_t samplePosition) {
    static_cast<void>(number);
    static_cast<void>(samplePosition);
  }

  /// A word begins.
  virtual void onWord(const SpeechWord& word) { static_cast<void>(word); }

  /// The utterance is over. This is its last event.
  virtual void onEnd(SpeechEnd end) { static_cast<void>(end); }
};
