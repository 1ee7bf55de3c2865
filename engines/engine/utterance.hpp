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
#include <string>
#include <string_view>
#include <vector>

#include "audio/audio_effects.hpp"
#include "text/spoken_text.hpp"

namespace KQ {
class PhonemeCallback;
}

namespace KQ::engines {

/// Stops, holds and resumes the utterances of one engine, from any thread.
class UtteranceControl {
 public:
  /// Ends all utterances that have begun; later ones are not affected.
  void stop();

  /// Holds the engine: the host gets no audio, word or mark until resume(), except the one in
  /// progress. Also holds later utterances, before their first audio, word or mark.
  void pause();
  void resume();

 private:
  friend class Utterance;

  std::mutex mutex;
  std::condition_variable changed;
  std::atomic<std::uint64_t> stops{0};
  std::atomic<bool> paused{false};  ///< written under mutex
};

/// One text that is spoken to the host, from its start to its end. Used by the thread that speaks
/// it.
///
/// If a function of the host throws, the utterance fails and ends, and run() throws the same.
class Utterance {
 public:
  /// From here on stop() ends it. \param callback  of the host, may be null
  Utterance(UtteranceControl& control, TextToSpeechEngineCallbackInterface* callback);
  Utterance(const Utterance&) = delete;
  Utterance& operator=(const Utterance&) = delete;

  /// Sets the effects on the audio. Marks and words stay with the audio that they belong to. Called
  /// before run().
  void setEffects(const AudioEffects& wanted) { wantedEffects = wanted; }

  /// Sets the text that maps words to the host's. Called before run(). \param text  stays alive
  void setText(const SpokenText& spokenText) { text = &spokenText; }

  /// Reports the start, calls `speak`, or `skip` if the utterance is over already, and reports the
  /// end.
  /// \param speak, skip  functions without arguments
  /// \throws what they or the host throw
  template <typename Speak, typename Skip>
  void run(Speak speak, Skip skip) {
    begin();
    try {
      if (isOver()) {
        skip();
      } else {
        speak();
        finishEffects();
      }
    } catch (...) {
      keepFirstFailure();
    }
    end();
  }

  template <typename Speak>
  void run(Speak speak) {
    run(speak, [] {});
  }

  /// Whether the utterance ends early: it was stopped, refused by the host, or failed.
  bool isOver() const noexcept;

  /// Waits while the engine is paused. \return whether the utterance goes on
  bool mayGoOn() noexcept;

  /// Waits for a time, without the time in which the engine is paused. Returns early if the
  /// utterance is over. \return whether the utterance goes on
  bool wait(std::chrono::microseconds duration) noexcept;

  /// Whether UtteranceControl::stop() ended the utterance. May be called from any thread.
  bool isStopped() const noexcept;

  /// \name Emitting to the host
  /// Each waits while the engine is paused, and returns whether the utterance goes on. None throws.
  /// Positions count samples from the start of the utterance. Effects delay what the host receives.
  /// @{
  bool emitAudio(const std::int16_t* samples, std::size_t count, int samplingRate) noexcept;
  bool emitMark(int number, std::uint64_t samplePosition) noexcept;
  bool emitWord(const SpeechWord& word) noexcept;
  /// Emits a sound that lasts until the next one, if the host wants to know. \param ipa  its name
  /// in IPA, "" for a silence
  bool emitPhoneme(std::string_view ipa, std::uint64_t samplePosition) noexcept;
  /// Emits a mark at the end of the audio so far, or a pause as silence. \param tag  one of these
  bool emitInsertion(const MarkupItem& tag, int samplingRate) noexcept;
  /// @}

  /// Whether the host wants to know the sounds.
  bool wantsPhonemes() const noexcept { return phonemes != nullptr; }

  /// The number of samples emitted so far.
  std::uint64_t samplesEmitted() const noexcept { return samples; }

 private:
  struct Event {
    std::optional<int> mark;  ///< empty for a word and a phoneme
    SpeechWord word;          ///< only its position counts for a mark and a phoneme
    std::optional<std::string> phoneme{};
  };

  /// The effects, active from the first audio on.
  struct Effects {
    Effects(const AudioEffects& wanted, int samplingRate) : chain(wanted, samplingRate) {}

    EffectChain chain;
    std::deque<Event> waiting;  ///< for the audio before them, by position
    std::uint64_t given = 0;    ///< samples given to the host
  };

  void begin() noexcept;
  void end();
  template <typename Call>
  bool callHost(Call call) noexcept;
  bool give(const std::int16_t* audio, std::size_t count) noexcept;
  bool give(const Event& event) noexcept;
  void change(const std::int16_t* audio, std::size_t count);
  void giveChanged(const std::vector<std::int16_t>& audio);
  void giveWaitingEvents() noexcept;
  bool emitSilence(std::uint64_t count, int samplingRate) noexcept;
  bool emit(const Event& event) noexcept;
  void finishEffects();
  void keepFirstFailure() noexcept;
  SpeechEnd outcome() const noexcept;

  UtteranceControl& control;
  TextToSpeechEngineCallbackInterface& host;
  PhonemeCallback* const phonemes;  ///< the host's second interface, or null
  const std::uint64_t stopsBefore;
  const SpokenText* text = nullptr;
  std::size_t originalEmitted = 0;  ///< where the last emitted word ends in the original
  AudioEffects wantedEffects;
  std::unique_ptr<Effects> effects;  ///< null before the first audio, and without effects
  int rate = 0;
  std::uint64_t samples = 0;  ///< received from the synthesiser
  bool refused = false;
  std::exception_ptr failure;
};

}  // namespace KQ::engines
