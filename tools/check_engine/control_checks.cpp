#include <atomic>

#include "check_engine/checks.hpp"
#include "check_engine/trial_engine.hpp"

namespace tool {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// Calls an operation that must come back soon, although an utterance runs: in its own thread, so
/// that the check can go on without it.
template <typename Operation>
void requireSoon(const Examination& exam, const std::string& what, Operation operation) {
  exam.step(what);
  std::packaged_task<std::string()> task([operation]() -> std::string {
    try {
      operation();
      return "";
    } catch (...) {
      return describeException().withType();
    }
  });
  std::future<std::string> result = task.get_future();
  std::thread(std::move(task)).detach();
  if (result.wait_for(exam.patience()) != std::future_status::ready) {
    exam.abandon(what + " did not return within " + std::to_string(exam.patience().count()) +
                 " ms while an utterance ran");
  }
  const std::string failure = result.get();
  if (!failure.empty()) {
    exam.abandon(what + " threw " + failure);
  }
}

/// Waits for the end of an utterance that was stopped. \return how long it took
milliseconds requireEnd(const Examination& exam, const BackgroundUtterance& utterance,
                        const std::string& after) {
  exam.step("startSynthetizer() " + after);
  const auto begin = steady_clock::now();
  if (!utterance.endsWithin(exam.patience())) {
    exam.abandon("startSynthetizer() did not return within " +
                 std::to_string(exam.patience().count()) + " ms " + after);
  }
  if (!utterance.failure().empty()) {
    exam.abandon("startSynthetizer() " + after + " threw " + utterance.failure());
  }
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
}

/// Waits until the engine is held in its first audio. \return false when it gives none
bool requireAudio(const Examination& exam, AudioGate& gate, const BackgroundUtterance& utterance) {
  const auto end = steady_clock::now() + exam.patience();
  while (!gate.reachedWithin(milliseconds(5))) {
    if (utterance.endsWithin(milliseconds(0))) {
      exam.note("the engine gives no audio, so that its utterance cannot be caught");
      return false;
    }
    if (steady_clock::now() > end) {
      exam.abandon("no audio came of a long text");
    }
  }
  return true;
}

/// Waits until nothing has happened for a while. \return false if that does not come to pass
bool becomesQuiet(const Examination& exam, TrialEngine& engine) {
  const milliseconds silence(150);
  const auto end = steady_clock::now() + std::max(exam.patience(), 4 * silence);
  std::size_t before = engine.recorder().count();
  while (steady_clock::now() < end) {
    std::this_thread::sleep_for(silence);
    const std::size_t now = engine.recorder().count();
    if (now == before) {
      return true;
    }
    before = now;
  }
  return false;
}

void reportUtterance(const std::string& what, TrialEngine& engine,
                     const BackgroundUtterance& utterance, std::size_t first) {
  engine.report(what, engine.recorder().eventsOf(utterance.thread(), first), longText);
}

/// Stops a long utterance in its first audio.
void stopInAudio(const Examination& exam, TrialEngine& engine) {
  const std::size_t first = engine.recorder().count();
  AudioGate gate(engine.recorder());
  const BackgroundUtterance utterance(*engine, longText);
  if (!requireAudio(exam, gate, utterance)) {
    return;
  }
  requireSoon(exam, "stopSynthetizer() while the host takes audio",
              [&engine] { engine->stopSynthetizer(); });
  gate.open();
  const milliseconds latency = requireEnd(exam, utterance, "after stopSynthetizer()");
  exam.note("an utterance ended " + std::to_string(latency.count()) + " ms after its stop");
  reportUtterance("a stopped utterance", engine, utterance, first);
  const SpeechEvents events = engine.recorder().eventsOf(utterance.thread(), first);
  if (!events.empty() && events.back().kind == SpeechEvent::Kind::end) {
    exam.expect(events.back().how == SpeechEnd::stopped,
                "onEnd did not say \"stopped\" after stopSynthetizer()");
  }
}

/// Pauses a long utterance in its first audio and sees whether it holds. \return false when there
/// is nothing to pause
bool pauseInAudio(const Examination& exam, TrialEngine& engine, AudioGate& gate,
                  const BackgroundUtterance& utterance) {
  if (!requireAudio(exam, gate, utterance)) {
    return false;
  }
  requireSoon(exam, "pauseSynthetizer() while the host takes audio",
              [&engine] { engine->pauseSynthetizer(); });
  gate.open();
  exam.step("holding a paused utterance");
  const bool quiet = becomesQuiet(exam, engine);
  if (utterance.endsWithin(milliseconds(0))) {
    exam.abandon("an utterance ended while it was paused");
  }
  if (!quiet) {
    exam.abandon("a paused utterance went on by itself");
  }
  exam.expect(engine->isPaused(), "isPaused() is false after pauseSynthetizer()");
  return true;
}

void resumeAfterPause(const Examination& exam, TrialEngine& engine) {
  const std::size_t first = engine.recorder().count();
  AudioGate gate(engine.recorder());
  const BackgroundUtterance utterance(*engine, longText);
  if (!pauseInAudio(exam, engine, gate, utterance)) {
    return;
  }
  const std::size_t whilePaused = engine.recorder().count();
  requireSoon(exam, "restartSynthetizer()", [&engine] { engine->restartSynthetizer(); });
  const auto end = steady_clock::now() + exam.patience();
  while (engine.recorder().count() == whilePaused && steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds(2));
  }
  exam.expect(engine.recorder().count() > whilePaused,
              "nothing more came of a paused utterance after restartSynthetizer()");
  requireSoon(exam, "stopSynthetizer() after a pause", [&engine] { engine->stopSynthetizer(); });
  requireEnd(exam, utterance, "after a pause and a stop");
  reportUtterance("an utterance that was paused", engine, utterance, first);
}

void stopWhilePaused(const Examination& exam, TrialEngine& engine) {
  const std::size_t first = engine.recorder().count();
  AudioGate gate(engine.recorder());
  const BackgroundUtterance utterance(*engine, longText);
  if (!pauseInAudio(exam, engine, gate, utterance)) {
    return;
  }
  requireSoon(exam, "stopSynthetizer() while paused", [&engine] { engine->stopSynthetizer(); });
  requireEnd(exam, utterance, "after a stop while it was paused");
  reportUtterance("an utterance stopped while paused", engine, utterance, first);
  requireSoon(exam, "restartSynthetizer() after it", [&engine] { engine->restartSynthetizer(); });
}

/// What several threads do to the engine at once, until the speakers are done.
class Storm {
 public:
  Storm(const Examination& check, TrialEngine& trial) : exam(check), engine(trial) {}

  void rage() {
    std::vector<std::thread> speakers;
    std::vector<std::thread> others;
    for (int i = 0; i < 2; ++i) {
      speakers.emplace_back([this] { speak(); });
    }
    for (int i = 0; i < 2; ++i) {
      others.emplace_back([this] { control(); });
    }
    others.emplace_back([this] { ask(); });
    for (std::thread& speaker : speakers) {
      speaker.join();
    }
    over = true;
    for (std::thread& other : others) {
      other.join();
    }
  }

 private:
  static constexpr int utterances = 8;

  void speak() {
    guarded([this] {
      for (int i = 0; i < utterances; ++i) {
        engine.speak("an utterance among several threads", shortText, true);
      }
    });
  }

  /// Every pause is followed by a restart, and the stop lets even a held utterance end.
  void control() {
    guarded([this] {
      while (!over) {
        engine->pauseSynthetizer();
        engine->restartSynthetizer();
        std::this_thread::sleep_for(milliseconds(2));
        engine->stopSynthetizer();
        std::this_thread::sleep_for(milliseconds(1));
      }
      engine->restartSynthetizer();
    });
  }

  void ask() {
    guarded([this] {
      while (!over) {
        engine->getCurrentLanguage();
        engine->getAllAvailableVoices();
        engine->getCurrentVoice();
        engine->isPaused();
        for (const std::string& name : engine->getAvailableParameters()) {
          engine->setParameter(name, engine->getParameter(name));
        }
        std::this_thread::sleep_for(milliseconds(1));
      }
    });
  }

  template <typename Work>
  void guarded(Work work) {
    try {
      work();
    } catch (const Examination::Ended&) {
      // Told already.
    } catch (...) {
      exam.find("an operation among several threads threw " + describeException().withType());
    }
  }

  const Examination& exam;
  TrialEngine& engine;
  std::atomic<bool> over{false};
};

}  // namespace

void checkStop(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  exam.require("stopSynthetizer() while nothing is spoken", [&] { engine->stopSynthetizer(); });
  engine.speakWhole("an utterance after a stop of nothing");
  stopInAudio(exam, engine);
  engine.recorder().react(nullptr);
  engine.speakWhole("an utterance after a stopped one");
}

void checkPause(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  resumeAfterPause(exam, engine);
  stopWhilePaused(exam, engine);
  engine.recorder().react(nullptr);
  exam.expect(!engine->isPaused(), "isPaused() is true after restartSynthetizer()");
  engine.speakWhole("an utterance after a pause");
}

void checkThreads(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  exam.step("start, stop, pause and restart from several threads");
  Storm(exam, engine).rage();
  engine.speakWhole("an utterance after several threads");
}

void checkTerminateWhileSpeaking(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  std::promise<void> begun;
  engine.recorder().react([&begun, told = false](const SpeechEvent& event) mutable {
    if (event.kind != SpeechEvent::Kind::audio) {
      return true;
    }
    if (!told) {
      begun.set_value();
    }
    told = true;
    std::this_thread::sleep_for(milliseconds(1));
    return true;
  });
  const BackgroundUtterance utterance(*engine, longText);
  std::future<void> audio = begun.get_future();
  while (audio.wait_for(milliseconds(5)) != std::future_status::ready) {
    if (utterance.endsWithin(milliseconds(0))) {
      return exam.note("the engine gives no audio");
    }
  }
  const bool terminated =
      exam.require("terminate() while an utterance runs", [&] { return engine->terminate(); });
  if (!terminated) {
    exam.note("terminate() refuses while an utterance runs");
    engine->stopSynthetizer();
  }
  exam.step("startSynthetizer() after terminate()");
  exam.expect(utterance.endsWithin(exam.patience()), "an utterance went on for " +
                                                         std::to_string(exam.patience().count()) +
                                                         " ms after terminate()");
}

}  // namespace tool
