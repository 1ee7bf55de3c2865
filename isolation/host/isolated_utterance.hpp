#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>
#include <string_view>
#include <thread>

#include "isolation/host/engine_process.hpp"
#include "isolation/host/speech_progress.hpp"
#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

/// What holds and stops the utterances of one engine. Shared by threads.
struct SpeechControl {
  std::atomic<std::uint64_t> stops{0};
  std::atomic<Clock::rep> lastStop{0};  ///< when
  std::atomic<bool> isHeld{false};      ///< paused
};

/// How long an engine may take to be silent.
inline constexpr std::chrono::milliseconds stopPatience{80};

/// An utterance as the host sees it: one start and one end, whatever the engine's processes do.
/// Used by the thread that speaks; isStopped() by all.
class Utterance {
 public:
  /// From here on a stop reaches it. \param host  may be null
  Utterance(std::string_view spokenText, TextToSpeechEngineCallbackInterface* host,
            const SpeechControl& engineControl);

  /// Hands a record of the engine on, waiting while the engine is paused.
  /// \throws ProtocolError for one that is none of speech, or malformed
  void hear(Record kind, Decoder& record, EngineProcess& engine,
            Channel::Conversation& conversation);

  /// The start of the engine returned.
  void pieceReturned();
  /// The engine threw.
  void fail(const std::exception_ptr& error);
  /// The engine's process died. \return whether a sentence is left out
  bool engineDied();

  /// Whether there is nothing left to say.
  bool isSettled() const { return isDone || isOver() || progress.isDone(); }

  /// Tells the host the end, if it knows the beginning.
  /// \throws what ended the utterance
  void finish();

  bool isStopped() const { return control.stops != stopsBefore; }
  /// Whether the host hears no more of it.
  bool isOver() const { return isRefused || failure != nullptr || isStopped(); }
  /// Until when the engine has to be silent, once it is over.
  Clock::time_point silentBy() const;

  /// What to say next.
  SpeechProgress::Piece nextPiece();

  const std::string_view text;
  SpeechProgress progress;
  const std::thread::id thread = std::this_thread::get_id();
  Channel::Conversation* conversation = nullptr;  ///< guarded by the supervisor's mutex

 private:
  template <typename Tell>
  void tell(EngineProcess& engine, Channel::Conversation& talk, Tell tellHost);
  bool hold(EngineProcess& engine, Channel::Conversation& talk) const;
  void hearStart(EngineProcess& engine, Channel::Conversation& talk);
  void hearAudio(Decoder& record, EngineProcess& engine, Channel::Conversation& talk);
  void hearWord(Decoder& record, EngineProcess& engine, Channel::Conversation& talk);
  void hearMark(Decoder& record, EngineProcess& engine, Channel::Conversation& talk);
  void hearPhoneme(Decoder& record, EngineProcess& engine, Channel::Conversation& talk);
  void hearEnd(Decoder& record);
  void acknowledge(std::size_t samples, int rate, EngineProcess& engine,
                   const Channel::Conversation& talk, bool isAwaited = false);
  void cancel(EngineProcess& engine, const Channel::Conversation& talk, std::uint8_t how);
  void tellEnd(SpeechEnd end);

  TextToSpeechEngineCallbackInterface* const callback;
  PhonemeCallback* const phonemes;
  const SpeechControl& control;
  const std::uint64_t stopsBefore;
  bool isStarted = false;
  bool isEnded = false;
  bool isDone = false;
  bool isRefused = false;
  Clock::time_point overSince = never;
  std::exception_ptr failure;

  // Of the piece that is being said.
  bool hasPieceEnded = false;  ///< whatever the engine reports after that is not believed
  SpeechEnd pieceEnd = SpeechEnd::finished;
  bool isLastPiece = true;
  std::uint64_t samplesTaken = 0;
  std::uint64_t recordsTaken = 0;
  std::uint64_t samplesTold = 0;  ///< to the child
  std::uint64_t recordsTold = 0;
};

}  // namespace KQ::isolation
