#pragma once

#include <memory>
#include <string>

#include "engine_host.hpp"
#include "speaker_core.hpp"
#include "utterance_run.hpp"

namespace KQ::speaking {

/// The thread of a speaker: loads the engines, and speaks what the queue holds, until the speaker
/// goes.
class SpeakingThread {
 public:
  explicit SpeakingThread(SpeakerCore& speakerCore);
  ~SpeakingThread();
  SpeakingThread(const SpeakingThread&) = delete;
  SpeakingThread& operator=(const SpeakingThread&) = delete;

  void run();

  /// Loads the engines anew, between two sentences.
  void load(SpeakerCore::Lock& lock);

 private:
  void speak(SpeakerCore::Lock& lock, const Entry& record);
  void suspend(SpeakerCore::Lock& lock, const UtteranceRun& run);
  void prepareLanguage(const std::string& language);

  SpeakerCore& core;
  EngineCallback callback;
  std::unique_ptr<EngineHost> engines;
  Workshop workshop;
};

}  // namespace KQ::speaking
