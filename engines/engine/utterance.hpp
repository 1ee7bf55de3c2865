#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <kq/speech_callback.hpp>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "audio/audio_effects.hpp"
#include "text/spoken_text.hpp"

namespace KQ::engines {

/// Stops, holds and resumes the utterances of one engine, from any thread.
class UtteranceControl {
 public:
  /// Ends all utterances that have begun, and none that begins later.
  void stop();

  /// Holds the engine: no audio, word or mark is told until resume(), except the one that is being
  /// told just now. Lasts over the end of an utterance; the next one is held at its first audio.
  void pause();
  void resume();

 private:
  friend class Utterance;

  std::mutex mutex;
  std::condition_variable changed;
  std::atomic<std::uint64_t> stops{0};
  std::atomic<bool> paused{false};  ///< written under mutex
};

/// One text on its way to the host, from one start to one end. Used by the thread that speaks it.
///
/// What the host's functions throw is kept, ends the utterance as failed, and leaves through run().
class Utterance {
 public:
  /// From here on stop() reaches it. \param callback  the host's, may be null
  Utterance(UtteranceControl& control, TextToSpeechEngineCallbackInterface* callback);
  Utterance(const Utterance&) = delete;
  Utterance& operator=(const Utterance&) = delete;

  /// Changes the audio on its way to the host. Marks and words stay with the audio that they belong
  /// to. Before run().
  void setEffects(const AudioEffects& wanted) { wantedEffects = wanted; }

  /// Words are told as they stand in the text's original. Before run(). \param text  stays alive
  void setText(const SpokenText& spokenText) { text = &spokenText; }

  /// Tells the start, lets `speak` speak unless stopped already, and tells the end.
  /// \param speak  a function without arguments
  /// \throws what `speak` or the host throws
  template <typename Speak>
  void run(Speak speak) {
    try {
      host.onStart();
      if (!isOver()) {
        speak();
        finishEffects();
      }
    } catch (...) {
      keepFirstFailure();
    }
    end();
  }

  /// Whether it is over before its text is: stopped, refused by the sink, or failed.
  bool isOver() const noexcept;

  /// Waits while the engine is paused. \return whether the utterance goes on
  bool mayGoOn() noexcept;

  /// Waits so long, and while the engine is paused, which does not count; not longer than the
  /// utterance goes on. \return whether it goes on
  bool wait(std::chrono::microseconds duration) noexcept;

  /// Whether the utterance was stopped by UtteranceControl::stop(). May be asked by any thread.
  bool isStopped() const noexcept;

  /// \name Telling the host
  /// Each waits while the engine is paused, and returns whether the utterance goes on. None throws.
  /// Positions count from the start of the utterance. With effects, what is told may be held back.
  /// @{
  bool tellAudio(const std::int16_t* samples, std::size_t count, int samplingRate) noexcept;
  bool tellSilence(std::uint64_t count, int samplingRate) noexcept;
  bool tellMark(int number, std::uint64_t samplePosition) noexcept;
  bool tellWord(const SpeechWord& word) noexcept;
  /// @}

  /// The number of samples told so far.
  std::uint64_t samplesTold() const noexcept { return samples; }

 private:
  struct Event {
    std::optional<int> mark;  ///< none for a word
    SpeechWord word;          ///< of a mark only the position
  };

  /// The effects, which are at work from the first audio on.
  struct Effects {
    Effects(const AudioEffects& wanted, int samplingRate) : chain(wanted, samplingRate) {}

    EffectChain chain;
    std::deque<Event> waiting;  ///< for the audio before them; by position
    std::uint64_t given = 0;    ///< samples that went to the host
  };

  void end();
  template <typename Tell>
  bool guarded(Tell tell) noexcept;
  bool tellHost(const std::int16_t* audio, std::size_t count) noexcept;
  bool tellHost(const Event& event) noexcept;
  void change(const std::int16_t* audio, std::size_t count);
  void tellChanged(const std::vector<std::int16_t>& audio);
  void tellWaitingEvents() noexcept;
  bool tellEvent(const Event& event) noexcept;
  void finishEffects();
  void keepFirstFailure() noexcept;
  SpeechEnd outcome() const noexcept;

  UtteranceControl& control;
  TextToSpeechEngineCallbackInterface& host;
  const std::uint64_t stopsBefore;
  const SpokenText* text = nullptr;
  std::size_t originalTold = 0;  ///< where the last word that was told ends in the original
  AudioEffects wantedEffects;
  std::unique_ptr<Effects> effects;  ///< null before the first audio, and without effects
  int rate = 0;
  std::uint64_t samples = 0;  ///< that came from the synthesiser
  bool refused = false;
  std::exception_ptr failure;
};

}  // namespace KQ::engines
