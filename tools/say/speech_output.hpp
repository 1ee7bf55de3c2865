#pragma once

#include <cstdint>
#include <exception>
#include <kq/speech_callback.hpp>
#include <string>

namespace tool {

class AudioSink;
class EventWriter;
class StopRequest;
struct Sentence;

/// What engines report to: passes the audio to a sink and the events to a writer.
///
/// A text of several sentences is one stretch of audio: positions in audio and text are counted on
/// from sentence to sentence. What sink or writer throws is kept for the host; the engine only
/// hears that no more audio is wanted.
class SpeechOutput : public TextToSpeechEngineCallbackInterface {
 public:
  /// \param events  may be null
  /// All three live as long as this.
  SpeechOutput(AudioSink& sink, EventWriter* events, const StopRequest& stop);

  /// What the next utterance is about.
  void expect(const Sentence& sentence, int samplingRate);

  /// The utterance is over.
  /// \throws Failure when it was not spoken whole, unless the user stopped it
  void requireSpoken();

  void onStart() override;
  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void onMark(int number, std::uint64_t samplePosition) override;
  void onWord(const SpeechWord& word) override;
  void onEnd(SpeechEnd end) override;

 private:
  template <typename Action>
  void keepFailure(Action action) noexcept;
  void writePieces(const std::int16_t* samples, std::size_t count, int samplingRate);

  AudioSink& sink;
  EventWriter* events;
  const StopRequest& stop;

  std::string text;                 ///< of the utterance
  std::uint64_t textOffset = 0;     ///< of the utterance in the whole text
  int samplingRate = 0;             ///< of the utterance
  std::uint64_t samplesBefore = 0;  ///< of all utterances before this one
  std::uint64_t samplesSpoken = 0;  ///< of all utterances
  SpeechEnd lastEnd = SpeechEnd::failed;
  std::exception_ptr failure;
};

}  // namespace tool
