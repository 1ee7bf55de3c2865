#pragma once

#include <condition_variable>
#include <functional>
#include <kq/speech_callback.hpp>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tool {

/// One call from an engine to its host.
struct SpeechEvent {
  enum class Kind { start, audio, mark, word, end };

  Kind kind;
  std::thread::id thread;
  std::size_t samples = 0;   ///< audio
  int samplingRate = 0;      ///< audio
  bool withoutData = false;  ///< audio: the count is not 0, but the address is null
  int mark = 0;
  SpeechWord word = {};                 ///< word
  std::uint64_t position = 0;           ///< word, mark
  SpeechEnd how = SpeechEnd::finished;  ///< end
};

using SpeechEvents = std::vector<SpeechEvent>;

/// "onAudio" and so on.
const char* nameOf(SpeechEvent::Kind kind);

/// A host's callback. Keeps all events and lets a check react to them. Thread-safe except react().
class EventRecorder : public TextToSpeechEngineCallbackInterface {
 public:
  /// Called for each event in the thread that emits it. For audio, false refuses more.
  using Reaction = std::function<bool(const SpeechEvent&)>;

  /// Sets the reaction. Do not call this while the engine speaks.
  void react(Reaction newReaction) { reaction = std::move(newReaction); }

  SpeechEvents events() const;
  /// The events of one thread, from the event with index `first` on.
  SpeechEvents eventsOf(std::thread::id thread, std::size_t first) const;
  std::size_t count() const;

  void onStart() override;
  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void onMark(int number, std::uint64_t samplePosition) override;
  void onWord(const SpeechWord& word) override;
  void onEnd(SpeechEnd end) override;

 private:
  bool take(SpeechEvent event);

  mutable std::mutex mutex;
  SpeechEvents all;  ///< guarded by mutex
  Reaction reaction;
};

/// What is expected of one utterance.
struct UtteranceRules {
  std::string text;
  int samplingRate = 0;      ///< that the engine announced
  bool maybeSilent = false;  ///< whether there may be no events at all
};

/// Describes where the events of one utterance break the contract.
std::vector<std::string> judgeUtterance(const SpeechEvents& events, const UtteranceRules& rules);

}  // namespace tool
