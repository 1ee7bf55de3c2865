#include "speaking_thread.hpp"

namespace KQ::speaking {

SpeakingThread::SpeakingThread(SpeakerCore& speakerCore) : core(speakerCore) {}

SpeakingThread::~SpeakingThread() = default;

void SpeakingThread::run() {
  SpeakerCore::Lock lock(core.mutex);
  core.worker = this;
  engines = std::make_unique<EngineHost>(&callback);
  workshop.engines = engines.get();
  while (!core.isClosing || !core.ended.empty()) {
    core.serve(lock);
    core.expire();
    if (core.packagesToLoad && !core.isClosing) {
      load(lock);
    } else if (!core.ended.empty() || core.isClosing) {
      continue;
    } else if (core.pausePoint || core.queue.size() == 0) {
      core.over.notify_all();  // all may be silent now
      core.waitForWork(lock);
    } else {
      speak(lock, core.queue.takeNext());
    }
  }
  lock.unlock();
  engines.reset();
  lock.lock();
  core.worker = nullptr;
  core.isDone = true;
  core.over.notify_all();
}

void SpeakingThread::load(SpeakerCore::Lock& lock) {
  const std::vector<zu::PackageInfo> packages = std::move(*core.packagesToLoad);
  core.packagesToLoad.reset();
  const std::uint64_t wanted = core.reloadsWanted;
  lock.unlock();
  const std::shared_ptr<const Catalogue> catalogue = engines->load(packages);
  workshop.levels.clear();
  lock.lock();
  core.spoken = catalogue;
  core.reloadsDone = wanted;
  lock.unlock();
  prepareLanguage(core.language());
  lock.lock();
  core.over.notify_all();
}

/// So that the first utterance does not wait for it.
void SpeakingThread::prepareLanguage(const std::string& language) {
  workshop.cutter.prepare(core.catalogue()->localeOf(language));
}

void SpeakingThread::speak(SpeakerCore::Lock& lock, const Entry& record) {
  UtteranceRun run(core, workshop, record);
  record->state = UtteranceState::speaking;
  record->hasBegun = true;
  core.running = &run;
  callback.run = &run;
  lock.unlock();
  run.speak();
  lock.lock();
  callback.run = nullptr;
  core.running = nullptr;
  if (run.isSuspended) {
    suspend(lock, run);
  } else {
    if (record->end == UtteranceEnd::none) {
      record->end = UtteranceEnd::finished;
      record->state = UtteranceState::finished;
      core.queue.forgetKeyOf(record);
    }
    if (!core.isLeftAlone) {
      core.deliverEnd(lock, record);
    }
  }
  core.over.notify_all();
}

void SpeakingThread::suspend(SpeakerCore::Lock& lock, const UtteranceRun& run) {
  UtteranceRecord::Details& details = run.record->detail();
  details.resumeOffset = run.resumeOffset();
  details.resumePosition = run.position();
  details.samplingRate = run.samplingRate();
  const std::shared_ptr<SpeechListener> listener = run.record->listener;
  if (run.record->end != UtteranceEnd::none || !listener || core.isLeftAlone) {
    return;
  }
  core.isInEvent = true;
  lock.unlock();
  try {
    listener->onInterrupt(SpeakerCore::handleOf(run.record));
  } catch (...) {  // it ends nothing that was not interrupted already
  }
  lock.lock();
  core.isInEvent = false;
}

}  // namespace KQ::speaking
