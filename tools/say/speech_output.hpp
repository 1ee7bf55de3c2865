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

/// The callback of the engines: passes audio to a sink and events to a writer.
///
/// A text of several sentences is one stretch of audio, so positions in audio and text go on from
/// sentence to sentence. If the sink or the writer throws, the exception is kept for the host, and
/// the engine is told to emit no more audio.
class SpeechOutput : public TextToSpeechEngineCallbackInterface {
 public:
  /// \param events  may be null
  /// All three must outlive this object.
  SpeechOutput(AudioSink& sink, EventWriter* events, const StopRequest& stop);

  /// Call this before each utterance.
  void expect(const Sentence& sentence, int samplingRate);

  /// Call this after each utterance.
  /// \throws Failure if it was not spoken to its end, unless the user stopped it
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
