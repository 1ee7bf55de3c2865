#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "isolation/host/channel.hpp"
#include "isolation/host/child_process.hpp"
#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

/// One child: its process, the conversation with it, and the watch over it.
class EngineProcess {
 public:
  /// Starts it.
  /// \param stray  takes what the child reports outside of calls
  /// \throws std::system_error when it cannot be started
  EngineProcess(const std::string& program, const std::vector<std::string>& environment,
                std::function<void(const Packet&)> stray)
      : process(program, environment), channel(process.socket(), std::move(stray)) {}

  ChildProcess process;
  Channel channel;

  /// \name Loading
  /// Guarded by loadMutex, which the one holds that waits for it.
  /// @{
  enum class Load { pending, done, refused };
  std::mutex loadMutex;
  std::atomic<Load> load{Load::pending};
  Channel::Conversation loading{channel};
  const Clock::time_point begin = Clock::now();
  /// @}

  /// What the child knows of its surroundings. Guarded by the supervisor's mutex.
  Surroundings known;

  /// \name Hangs
  /// @{

  /// The engine has done something, or the host has.
  void noteProgress() { lastProgress = Clock::now().time_since_epoch().count(); }

  /// When it is taken for hanging if nothing happens until then.
  Clock::time_point hangsAt(std::chrono::milliseconds patience) const {
    return busy > 0 ? Clock::now() + patience
                    : Clock::time_point(Clock::duration(lastProgress.load())) + patience;
  }

  /// A stay of an utterance in its host's callback: nobody expects progress.
  class Stay {
   public:
    explicit Stay(EngineProcess& owner) : engine(owner) { ++engine.busy; }
    ~Stay() {
      engine.noteProgress();
      --engine.busy;
    }
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;

   private:
    EngineProcess& engine;
  };

  /// @}

  std::atomic<bool> isBuried{false};  ///< its death was seen to

 private:
  std::atomic<Clock::rep> lastProgress{Clock::now().time_since_epoch().count()};
  std::atomic<int> busy{0};
};

}  // namespace KQ::isolation
