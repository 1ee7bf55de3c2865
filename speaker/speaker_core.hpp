#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <kqtts/speaker.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "catalogue.hpp"
#include "utterance_queue.hpp"
#include "utterance_record.hpp"

namespace KQ {

class TextToSpeechManager;

namespace speaking {
class SpeakingThread;
class UtteranceRun;
}  // namespace speaking

/// What a speaker and its handles share: the queue, the states, and the thread that speaks.
///
/// One mutex guards all of it. It is never held while a manager, an engine or a listener is called.
class SpeakerCore : public std::enable_shared_from_this<SpeakerCore> {
 public:
  using Entry = speaking::Entry;
  using Lock = std::unique_lock<std::mutex>;
  using Clock = std::chrono::steady_clock;

  /// What an event is to a pause.
  enum class Step { other, word, mark, sentence };

  /// Starts the thread, and returns when the engines are loaded.
  static std::shared_ptr<SpeakerCore> make(SpeakerSettings settings);

  explicit SpeakerCore(SpeakerSettings speakerSettings);
  ~SpeakerCore();
  SpeakerCore(const SpeakerCore&) = delete;
  SpeakerCore& operator=(const SpeakerCore&) = delete;

  /// \name For the speaker
  /// @{

  Utterance speak(std::string text, const SpeechOptions& options,
                  std::shared_ptr<SpeechListener> listener);
  OpenUtterance open(const SpeechOptions& options, std::shared_ptr<SpeechListener> listener);
  void stopAll();
  void stopCurrent();
  void pause(PausePoint point);
  void resume();
  bool isPaused();
  Utterance current();
  std::size_t waiting();
  bool waitUntilSilent(std::chrono::milliseconds limit);
  bool reload(std::vector<zu::PackageInfo> packages);
  std::shared_ptr<const speaking::Catalogue> catalogue();
  bool setLanguage(const std::string& language);
  std::string language();
  void close();

  /// @}
  /// \name For handles
  /// @{

  bool append(const Entry& record, std::string_view piece);
  void finishText(const Entry& record);
  void stop(const Entry& record);
  bool wait(const Entry& record, std::optional<std::chrono::milliseconds> limit);
  template <typename Read>
  auto read(Read get) {
    const std::lock_guard<std::mutex> lock(mutex);
    return get();
  }

  /// @}
  /// \name For the run of an utterance, on the speaking thread
  /// @{

  /// Calls the listener, unless the run was cancelled; first waits while the speech is held. An
  /// exception fails the utterance.
  /// \param event  called with the listener, without the mutex; not called where there is none
  /// \return whether the run may go on
  bool emit(speaking::UtteranceRun& run, Step step,
            const std::function<void(SpeechListener&)>& event);

  /// More text of an utterance that is still being written.
  struct Piece {
    std::string text;
    bool isLast = false;     ///< no more will come
    bool isOverdue = false;  ///< what came last has waited long enough for more
    bool isCancelled = false;
  };
  /// Waits for more text than `known` bytes, or until what is known is overdue. \param isLate  it
  /// was found overdue already
  Piece waitForText(speaking::UtteranceRun& run, std::size_t known, bool isLate);

  /// An engine is about to be started; a stop reaches it from now on.
  bool beginEngine(speaking::UtteranceRun& run,
                   const std::shared_ptr<TextToSpeechManager>& manager);
  /// The start returned. Waits until no stop is under way that was meant for it.
  void endEngine();
  /// Stops the engine if the run was cancelled before its start had begun.
  void stopIfCancelled(speaking::UtteranceRun& run);
  bool isCancelled(const speaking::UtteranceRun& run);
  /// Whether a pause is to begin at a word or mark.
  bool pausesAtEvent();
  void fail(speaking::UtteranceRun& run, const std::string& error);
  void refuse(speaking::UtteranceRun& run);
  void noteVoice(const Entry& record, const SpeechVoice& voice);

  /// @}

  static Utterance handleOf(const Entry& record) { return Utterance(record); }

  const SpeakerSettings& constantSettings() const { return settings; }

 private:
  friend class speaking::SpeakingThread;

  Entry makeRecord(const SpeechOptions& options, std::shared_ptr<SpeechListener> listener);
  void add(Lock& lock, const Entry& record);
  void end(const Entry& record, UtteranceEnd why);
  void endNotSpoken(const Entry& record, UtteranceEnd why);
  void suspend(speaking::UtteranceRun& run);
  void stopEngine(Lock& lock);
  bool enter(speaking::UtteranceRun& run, Step step, Lock& lock);
  void leave(Step step);
  bool holdsAt(Step step) const;
  bool hold(speaking::UtteranceRun& run, Lock& lock);
  void tellHold(speaking::UtteranceRun& run, Lock& lock, bool begins);
  void serve(Lock& lock);
  void expire();
  void waitForWork(Lock& lock);
  void deliverEnd(Lock& lock, const Entry& record);
  void leaveToItself(Lock& lock);
  bool isSpeakingThread() const { return std::this_thread::get_id() == threadId; }

  const SpeakerSettings settings;

  std::mutex mutex;
  std::condition_variable work;  ///< something for the speaking thread
  std::condition_variable over;  ///< an utterance is over, a reload is done, the thread ends
  std::thread thread;
  std::thread::id threadId;
  speaking::SpeakingThread* worker = nullptr;  ///< what the thread runs

  speaking::UtteranceQueue queue;
  std::deque<Entry> ended;  ///< whose onEnd is to be called
  std::multimap<Clock::time_point, std::weak_ptr<UtteranceRecord>> expiries;
  speaking::UtteranceRun* running = nullptr;
  std::shared_ptr<TextToSpeechManager> engineInUse;  ///< while its start runs
  int stoppers = 0;                                  ///< threads that are stopping it
  std::optional<PausePoint> pausePoint;
  std::shared_ptr<const SpeechOptions> lastOptions;  ///< shared by utterances that are alike
  std::uint64_t lastId = 0;
  std::shared_ptr<const speaking::Catalogue> spoken;
  std::string defaultLanguage;  ///< as written; "" is the engines' own
  std::optional<std::vector<zu::PackageInfo>> packagesToLoad;
  std::uint64_t reloadsWanted = 0;
  std::uint64_t reloadsDone = 0;
  bool isInEvent = false;    ///< the speaking thread is in a listener
  bool isClosing = false;    ///< the speaker goes
  bool isLeftAlone = false;  ///< the thread did not end in time: it calls no listener any more
  bool isDone = false;       ///< the thread is at its end
};

}  // namespace KQ
