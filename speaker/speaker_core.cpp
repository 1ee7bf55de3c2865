#include "speaker_core.hpp"

#include <algorithm>
#include <kqtts/texttospeech_manager.hpp>
#include <zu/log.hpp>

#include "failure_text.hpp"
#include "speaking_thread.hpp"
#include "utterance_run.hpp"

namespace KQ {

using speaking::UtteranceRun;

namespace {

/// How long the end of a speaker waits for an engine.
constexpr std::chrono::milliseconds patience(80);

bool areAlike(const SpeechOptions& a, const SpeechOptions& b) {
  return a.language == b.language && a.voice == b.voice && a.rate == b.rate && a.pitch == b.pitch &&
         a.volume == b.volume && a.parameters == b.parameters && a.priority == b.priority &&
         a.key == b.key && a.expiry == b.expiry && a.resumes == b.resumes && a.format == b.format &&
         a.detectLanguages == b.detectLanguages && a.clauseDelay == b.clauseDelay;
}

UtteranceState stateOf(UtteranceEnd end) {
  switch (end) {
    case UtteranceEnd::finished:
      return UtteranceState::finished;
    case UtteranceEnd::failed:
      return UtteranceState::failed;
    case UtteranceEnd::none:
    case UtteranceEnd::stopped:
    case UtteranceEnd::interrupted:
    case UtteranceEnd::replaced:
    case UtteranceEnd::expired:
    case UtteranceEnd::refused:
      break;
  }
  return UtteranceState::stopped;
}

void logFailureOfListener(const std::string& error) {
  zu::log::write(zu::log::Level::error, "kqtts.speaker", "A listener threw from onEnd: " + error,
                 __FILE__, __func__, __LINE__);
}

}  // namespace

std::shared_ptr<SpeakerCore> SpeakerCore::make(SpeakerSettings settings) {
  const auto core = std::make_shared<SpeakerCore>(std::move(settings));
  Lock lock(core->mutex);
  core->thread = std::thread([core] { speaking::SpeakingThread(*core).run(); });
  core->threadId = core->thread.get_id();
  core->over.wait(lock, [&] { return core->reloadsDone > 0; });
  return core;
}

SpeakerCore::SpeakerCore(SpeakerSettings speakerSettings)
    : settings(std::move(speakerSettings)),
      spoken(std::make_shared<speaking::Catalogue>()),
      defaultLanguage(settings.language),
      packagesToLoad(settings.packages),
      reloadsWanted(1) {}

SpeakerCore::~SpeakerCore() = default;

// Operations of the speaker.

SpeakerCore::Entry SpeakerCore::makeRecord(const SpeechOptions& options,
                                           std::shared_ptr<SpeechListener> listener) {
  if (!lastOptions || !areAlike(*lastOptions, options)) {
    lastOptions = std::make_shared<const SpeechOptions>(options);
  }
  const auto record = std::make_shared<UtteranceRecord>(++lastId, lastOptions, shared_from_this());
  record->listener = listener ? std::move(listener) : settings.listener;
  return record;
}

Utterance SpeakerCore::speak(std::string text, const SpeechOptions& options,
                             std::shared_ptr<SpeechListener> listener) {
  Lock lock(mutex);
  const Entry record = makeRecord(options, std::move(listener));
  record->text = std::move(text);
  add(lock, record);
  return Utterance(record);
}

OpenUtterance SpeakerCore::open(const SpeechOptions& options,
                                std::shared_ptr<SpeechListener> listener) {
  Lock lock(mutex);
  const Entry record = makeRecord(options, std::move(listener));
  record->detail().hasWholeText = false;
  record->detail().lastPiece = Clock::now();
  add(lock, record);
  return OpenUtterance(record);
}

void SpeakerCore::add(Lock& lock, const Entry& record) {
  if (isClosing) {
    record->end = UtteranceEnd::stopped;
    record->state = UtteranceState::stopped;
    record->isOver = true;
    return;
  }
  const bool isSpeaking = running != nullptr && !running->isCancelled;
  const speaking::Arrival arrival = queue.add(record, isSpeaking ? running->record : nullptr);
  for (const speaking::Ended& utterance : arrival.ended) {
    end(utterance.utterance, utterance.why);
  }
  if (arrival.suspendsCurrent) {
    suspend(*running);
  }
  if (record->options->expiry.count() > 0) {
    expiries.emplace(Clock::now() + record->options->expiry, record);
  }
  work.notify_one();
  if (running != nullptr && running->isCancelled) {
    stopEngine(lock);
  }
}

void SpeakerCore::suspend(UtteranceRun& run) {
  run.isCancelled = true;
  run.isSuspended = true;
  run.record->state = UtteranceState::waiting;
  queue.putBack(run.record);
}

/// Ends an utterance that is not in the queue any more.
void SpeakerCore::end(const Entry& record, UtteranceEnd why) {
  if (record->end != UtteranceEnd::none) {
    return;
  }
  record->end = why;
  record->state = stateOf(why);
  queue.forgetKeyOf(record);
  if (running != nullptr && running->record == record && !running->isSuspended) {
    running->isCancelled = true;  // its run calls onEnd
  } else {
    ended.push_back(record);
  }
  work.notify_one();
}

void SpeakerCore::endNotSpoken(const Entry& record, UtteranceEnd why) {
  if (record->end == UtteranceEnd::none && record->state == UtteranceState::waiting) {
    queue.remove(record);
  }
  end(record, why);
}

void SpeakerCore::stop(const Entry& record) {
  Lock lock(mutex);
  if (record->end != UtteranceEnd::none) {
    return;
  }
  endNotSpoken(record, UtteranceEnd::stopped);
  stopEngine(lock);
}

void SpeakerCore::stopAll() {
  Lock lock(mutex);
  for (const Entry& record : queue.all()) {
    endNotSpoken(record, UtteranceEnd::stopped);
  }
  if (running != nullptr) {
    end(running->record, UtteranceEnd::stopped);
  }
  stopEngine(lock);
}

void SpeakerCore::stopCurrent() {
  Lock lock(mutex);
  if (running != nullptr && !running->isSuspended) {
    end(running->record, UtteranceEnd::stopped);
    stopEngine(lock);
  }
}

/// Stops the engine, if it speaks what was cancelled. The speaking thread begins nothing else in
/// the meantime: endEngine() waits.
void SpeakerCore::stopEngine(Lock& lock) {
  if (!engineInUse || running == nullptr || !running->isCancelled) {
    return;
  }
  const std::shared_ptr<TextToSpeechManager> manager = engineInUse;
  ++stoppers;
  lock.unlock();
  try {
    manager->stopSynthetizer();
  } catch (...) {  // an engine that is gone has nothing to stop
  }
  lock.lock();
  --stoppers;
  work.notify_one();
}

void SpeakerCore::pause(PausePoint point) {
  const std::lock_guard<std::mutex> lock(mutex);
  pausePoint = pausePoint ? std::min(*pausePoint, point) : point;
  work.notify_one();
}

void SpeakerCore::resume() {
  const std::lock_guard<std::mutex> lock(mutex);
  pausePoint.reset();
  work.notify_one();
}

bool SpeakerCore::isPaused() {
  const std::lock_guard<std::mutex> lock(mutex);
  return pausePoint.has_value();
}

Utterance SpeakerCore::current() {
  const std::lock_guard<std::mutex> lock(mutex);
  return running != nullptr && !running->isCancelled ? Utterance(running->record) : Utterance();
}

std::size_t SpeakerCore::waiting() {
  const std::lock_guard<std::mutex> lock(mutex);
  return queue.size();
}

bool SpeakerCore::waitUntilSilent(std::chrono::milliseconds limit) {
  Lock lock(mutex);
  const auto isSilent = [&] { return running == nullptr && queue.size() == 0 && ended.empty(); };
  return isSpeakingThread() ? isSilent() : over.wait_for(lock, limit, isSilent);
}

bool SpeakerCore::reload(std::vector<zu::PackageInfo> packages) {
  Lock lock(mutex);
  packagesToLoad = std::move(packages);
  const std::uint64_t mine = ++reloadsWanted;
  work.notify_one();
  if (!isSpeakingThread()) {
    over.wait(lock, [&] { return reloadsDone >= mine || isDone || isClosing; });
  }
  return !spoken->languages.empty();
}

std::shared_ptr<const speaking::Catalogue> SpeakerCore::catalogue() {
  const std::lock_guard<std::mutex> lock(mutex);
  return spoken;
}

bool SpeakerCore::setLanguage(const std::string& language) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (spoken->candidates(language).empty()) {
    return false;
  }
  defaultLanguage = language;
  return true;
}

std::string SpeakerCore::language() {
  const std::lock_guard<std::mutex> lock(mutex);
  if (defaultLanguage.empty()) {
    return spoken->firstLanguage;
  }
  const std::vector<std::string> candidates = spoken->candidates(defaultLanguage);
  return candidates.empty() ? defaultLanguage : candidates.front();
}

void SpeakerCore::close() {
  Lock lock(mutex);
  isClosing = true;
  pausePoint.reset();
  for (const Entry& record : queue.all()) {
    endNotSpoken(record, UtteranceEnd::stopped);
  }
  if (running != nullptr) {
    end(running->record, UtteranceEnd::stopped);
  }
  work.notify_one();
  over.notify_all();
  if (isSpeakingThread()) {
    thread.detach();
    return;
  }
  const Clock::time_point limit = Clock::now() + patience;
  stopEngine(lock);
  over.wait_until(lock, limit, [&] { return isDone; });
  over.wait(lock, [&] { return isDone || !isInEvent; });
  if (isDone) {
    lock.unlock();
    thread.join();
    return;
  }
  leaveToItself(lock);
}

/// The engine does not return. Its thread keeps what it uses alive, and calls no listener any more.
void SpeakerCore::leaveToItself(Lock& lock) {
  isLeftAlone = true;
  thread.detach();
  if (running != nullptr && !running->isSuspended) {
    ended.push_back(running->record);
  }
  while (!ended.empty()) {
    const Entry record = ended.front();
    ended.pop_front();
    deliverEnd(lock, record);
  }
}

// Operations of handles.

bool SpeakerCore::append(const Entry& record, std::string_view piece) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (record->end != UtteranceEnd::none || !record->details || record->details->hasWholeText) {
    return false;
  }
  record->text += piece;
  record->details->lastPiece = Clock::now();
  work.notify_one();
  return true;
}

void SpeakerCore::finishText(const Entry& record) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (record->details) {
    record->details->hasWholeText = true;
  }
  work.notify_one();
}

bool SpeakerCore::wait(const Entry& record, std::optional<std::chrono::milliseconds> limit) {
  Lock lock(mutex);
  const auto isOver = [&] { return record->isOver; };
  if (isSpeakingThread()) {
    return isOver();
  }
  if (limit) {
    return over.wait_for(lock, *limit, isOver);
  }
  over.wait(lock, isOver);
  return true;
}

// For the run of an utterance.

bool SpeakerCore::emit(UtteranceRun& run, Step step,
                       const std::function<void(SpeechListener&)>& event) {
  Lock lock(mutex);
  if (!enter(run, step, lock)) {
    return false;
  }
  SpeechListener* const listener = run.record->listener.get();
  if (listener == nullptr) {
    leave(step);
    return true;
  }
  isInEvent = true;
  lock.unlock();
  std::exception_ptr failure;
  try {
    event(*listener);
  } catch (...) {
    failure = std::current_exception();
  }
  lock.lock();
  leave(step);
  if (failure) {
    lock.unlock();
    fail(run, speaking::describeFailure(failure));
    return false;
  }
  return !run.isCancelled;
}

/// Waits while the speech is held. \return false if the run was cancelled
bool SpeakerCore::enter(UtteranceRun& run, Step step, Lock& lock) {
  for (;;) {
    serve(lock);
    if (run.isCancelled || isLeftAlone) {
      return false;
    }
    if (step == Step::sentence && packagesToLoad) {
      worker->load(lock);
    } else if (holdsAt(step)) {
      if (!hold(run, lock)) {
        return false;
      }
    } else {
      return true;
    }
  }
}

void SpeakerCore::leave(Step step) {
  isInEvent = false;
  if (step == Step::mark && pausePoint == PausePoint::mark) {
    pausePoint = PausePoint::now;
  }
  if (isClosing) {
    over.notify_all();
  }
}

bool SpeakerCore::holdsAt(Step step) const {
  if (!pausePoint) {
    return false;
  }
  return *pausePoint == PausePoint::now ||
         (*pausePoint == PausePoint::word && step == Step::word) ||
         (*pausePoint == PausePoint::sentence && step == Step::sentence);
}

bool SpeakerCore::hold(UtteranceRun& run, Lock& lock) {
  pausePoint = PausePoint::now;
  run.record->state = UtteranceState::paused;
  tellHold(run, lock, true);
  while (pausePoint && !run.isCancelled) {
    if (packagesToLoad && engineInUse) {
      suspend(run);  // it goes on with the new engines
      return false;
    }
    if (packagesToLoad) {
      worker->load(lock);
    } else if (!ended.empty()) {
      serve(lock);
    } else {
      waitForWork(lock);
    }
  }
  if (run.isCancelled) {
    return false;
  }
  run.record->state = UtteranceState::speaking;
  tellHold(run, lock, false);
  return true;
}

void SpeakerCore::tellHold(UtteranceRun& run, Lock& lock, bool begins) {
  SpeechListener* const listener = run.record->listener.get();
  if (listener == nullptr) {
    return;
  }
  const Utterance handle(run.record);
  isInEvent = true;
  lock.unlock();
  std::exception_ptr failure;
  try {
    begins ? listener->onPause(handle) : listener->onResume(handle);
  } catch (...) {
    failure = std::current_exception();
  }
  if (failure) {
    fail(run, speaking::describeFailure(failure));
  }
  lock.lock();
  leave(Step::other);
}

SpeakerCore::Piece SpeakerCore::waitForText(UtteranceRun& run, std::size_t known, bool isLate) {
  Lock lock(mutex);
  const Entry& record = run.record;
  for (;;) {
    if (!enter(run, Step::sentence, lock)) {
      return {"", false, false, true};
    }
    const UtteranceRecord::Details* const details = record->details.get();
    if (record->text.size() > known || details == nullptr || details->hasWholeText) {
      return {record->text.substr(known), details == nullptr || details->hasWholeText, false,
              false};
    }
    const Clock::time_point limit = details->lastPiece + record->options->clauseDelay;
    if (isLate) {
      waitForWork(lock);
    } else if (Clock::now() >= limit) {
      return {"", false, true, false};
    } else {
      work.wait_until(lock, limit);
    }
  }
}

bool SpeakerCore::beginEngine(UtteranceRun& run,
                              const std::shared_ptr<TextToSpeechManager>& manager) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (run.isCancelled) {
    return false;
  }
  engineInUse = manager;
  return true;
}

void SpeakerCore::endEngine() {
  Lock lock(mutex);
  engineInUse = nullptr;
  work.wait(lock, [&] { return stoppers == 0; });
}

void SpeakerCore::stopIfCancelled(UtteranceRun& run) {
  Lock lock(mutex);
  if (run.isCancelled) {
    stopEngine(lock);
  }
}

bool SpeakerCore::isCancelled(const UtteranceRun& run) {
  const std::lock_guard<std::mutex> lock(mutex);
  return run.isCancelled;
}

bool SpeakerCore::pausesAtEvent() {
  const std::lock_guard<std::mutex> lock(mutex);
  return pausePoint == PausePoint::word || pausePoint == PausePoint::mark;
}

void SpeakerCore::fail(UtteranceRun& run, const std::string& error) {
  Lock lock(mutex);
  if (run.isCancelled) {
    return;
  }
  run.record->detail().error = error;
  end(run.record, UtteranceEnd::failed);
  stopEngine(lock);
}

void SpeakerCore::refuse(UtteranceRun& run) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (!run.isCancelled) {
    end(run.record, UtteranceEnd::refused);
  }
}

void SpeakerCore::noteVoice(const Entry& record, const SpeechVoice& voice) {
  const std::lock_guard<std::mutex> lock(mutex);
  record->detail().voice = voice;
}

// On the speaking thread.

/// Calls onEnd of what has ended meanwhile.
void SpeakerCore::serve(Lock& lock) {
  while (!ended.empty() && !isLeftAlone) {
    const Entry record = ended.front();
    ended.pop_front();
    deliverEnd(lock, record);
  }
}

void SpeakerCore::deliverEnd(Lock& lock, const Entry& record) {
  const std::shared_ptr<SpeechListener> listener = std::move(record->listener);
  record->listener = nullptr;
  if (listener) {
    isInEvent = true;
    lock.unlock();
    try {
      listener->onEnd(Utterance(record), record->end);
    } catch (...) {
      logFailureOfListener(speaking::describeFailure(std::current_exception()));
    }
    lock.lock();
    isInEvent = false;
  }
  std::string().swap(record->text);
  record->isOver = true;
  over.notify_all();
}

void SpeakerCore::expire() {
  while (!expiries.empty() && expiries.begin()->first <= Clock::now()) {
    const Entry record = expiries.begin()->second.lock();
    expiries.erase(expiries.begin());
    if (record && record->state == UtteranceState::waiting && !record->hasBegun) {
      endNotSpoken(record, UtteranceEnd::expired);
    }
  }
}

void SpeakerCore::waitForWork(Lock& lock) {
  expire();
  if (!ended.empty()) {
    return;
  }
  if (expiries.empty()) {
    work.wait(lock);
  } else {
    work.wait_until(lock, expiries.begin()->first);
  }
}

}  // namespace KQ
