#pragma once

#include <cstdint>
#include <deque>
#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>
#include <kqtts/speaker.hpp>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "audio_chain.hpp"
#include "engine_host.hpp"
#include "sentence_cutter.hpp"
#include "text_reader.hpp"
#include "utterance_record.hpp"
#include "voice_level.hpp"

namespace KQ::speaking {

/// What the speaking thread keeps from one utterance to the next.
struct Workshop {
  EngineHost* engines = nullptr;
  SentenceCutter cutter;
  std::map<std::string, std::unique_ptr<VoiceLevel>> levels;  ///< by voice
};

/// Speaks an utterance, from its begin or from where it was interrupted, to its end or until it is
/// cancelled. Lives on the speaking thread; the engines' callback passes on to it.
class UtteranceRun {
 public:
  UtteranceRun(SpeakerCore& speakerCore, Workshop& speakingWorkshop,
               std::shared_ptr<UtteranceRecord> utteranceRecord);
  ~UtteranceRun();
  UtteranceRun(const UtteranceRun&) = delete;
  UtteranceRun& operator=(const UtteranceRun&) = delete;

  void speak();

  /// \name What engines report
  /// @{
  void onEngineStart();
  bool onEngineAudio(const std::int16_t* samples, std::size_t count, int samplingRate);
  void onEngineWord(const SpeechWord& word);
  void onEngineMark(int number, std::uint64_t samplePosition);
  void onEnginePhoneme(const SpeechPhoneme& phoneme);
  /// @}

  /// Where it goes on after an interruption.
  std::size_t resumeOffset() const { return lastWord; }
  std::uint64_t position() const { return delivered; }
  int samplingRate() const { return utteranceRate; }

  const std::shared_ptr<UtteranceRecord> record;
  bool isCancelled = false;  ///< guarded by the core's mutex, as the next two
  bool isSuspended = false;  ///< cancelled, to be resumed
  bool isHeld = false;       ///< the listener was told of a pause

 private:
  /// An event that waits for the audio before it.
  struct Event {
    enum class Kind { word, mark, phoneme };
    Kind kind;
    std::uint64_t engineSample;
    std::size_t textOffset = 0;
    std::size_t textLength = 0;
    std::string name{};                          ///< of a mark or phoneme
    std::optional<std::uint64_t> sampleCount{};  ///< of a phoneme, in the engine's samples
  };

  std::unique_ptr<TextReader> makeReader();
  ReadingContext readingContext();
  std::string ownLanguage() const;
  std::optional<Segment> nextSegment();
  bool isSpokenAlready(Segment& next) const;
  void speakSegment(const Segment& next);
  std::optional<ChosenVoice> chooseVoice(const std::set<std::string>& avoided);
  void announce(const ChosenVoice& chosen);
  std::string startEngine(const ChosenVoice& chosen);
  void setParameters(const ChosenVoice& chosen);
  void restoreParameters();
  void beginChain(const ChosenVoice& chosen, int engineRate);
  void add(Event event);
  void completePhoneme(std::uint64_t engineEnd);
  bool isImmediate() const;
  std::uint64_t placeOf(const Event& event) const;
  void drain(bool isLast);
  bool deliverAudio(const std::int16_t* samples, std::size_t count);
  bool deliver(const Event& event, std::uint64_t place);
  bool deliverPhoneme(const Event& event, std::uint64_t place);
  void skipSoundless();

  SpeakerCore& core;
  Workshop& workshop;
  const bool hasListener;
  std::unique_ptr<TextReader> reader;
  std::size_t textKnown = 0;  ///< bytes that the reader has
  bool hasAllText = false;
  bool isOverdue = false;
  std::size_t beginOffset = 0;  ///< what comes before was spoken already

  const Segment* segment = nullptr;
  std::size_t nextMark = 0;                          ///< of the segment's
  std::pair<std::size_t, std::size_t> lastReported;  ///< offset and length of a word
  std::unique_ptr<AudioChain> chain;
  std::uint64_t chainBegin = 0;  ///< samples of the utterance before the chain's first
  int chainRate = 0;             ///< the engine's, in Hz
  std::uint64_t engineSamples = 0;
  std::uint64_t lastPlace = 0;  ///< of an event, in samples of the utterance
  Samples ready;                ///< audio that is to be delivered
  std::deque<Event> pending;    ///< events that are to be delivered, in order
  std::string lastFailure;      ///< of an engine of this segment
  bool wasHeard = false;        ///< the engine reported something of this segment

  ChosenVoice voice;  ///< that speaks now
  std::optional<SpeechVoice> announced;
  std::shared_ptr<TextToSpeechManager> parametersOf;
  std::map<std::string, float> formerParameters;
  std::string modelVoice;  ///< the first one, whose loudness the others take

  bool wantsPhonemes = false;
  int utteranceRate = 0;
  std::uint64_t delivered = 0;  ///< samples
  std::size_t lastWord = 0;     ///< offset of the last word that was begun
  std::deque<std::pair<std::uint64_t, std::size_t>> wordsToBegin;
};

/// What every engine of a speaker reports to; passes on to the run that speaks. Used by the
/// speaking thread alone.
class EngineCallback : public TextToSpeechEngineCallbackInterface, public PhonemeCallback {
 public:
  void onStart() override;
  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void onMark(int number, std::uint64_t samplePosition) override;
  void onWord(const SpeechWord& word) override;
  void onPhoneme(const SpeechPhoneme& phoneme) override;

  UtteranceRun* run = nullptr;
};

}  // namespace KQ::speaking
