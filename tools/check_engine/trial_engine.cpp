#include "check_engine/trial_engine.hpp"

#include <boost/make_shared.hpp>

namespace tool {

namespace {

std::string repeated(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) {
    result += text;
  }
  return result;
}

}  // namespace

const std::string shortText = "1 2 3.";
const std::string longText = repeated("1 2 3 4 5 6 7 8 9 10. ", 20);

TrialEngine::TrialEngine(const Examination& check, Callback callback)
    : exam(check),
      plugin(exam.require("opening the library", [&] { return PluginLibrary(exam.plugin()); })),
      host(new EventRecorder),
      languageTable(boost::make_shared<KQ::TTSLanguageInfo>()),
      engine(nullptr) {
  if (!plugin.isOpen()) {
    exam.abandon("the library cannot be opened: " + plugin.error());
  }
  if (!plugin.canLoad()) {
    exam.abandon("the library exports no function load_plugin");
  }
  engine = exam.require("load_plugin()", [&] {
    return plugin.createEngine(callback == Callback::recorder ? host : nullptr, languageTable);
  });
  if (engine == nullptr) {
    exam.abandon("load_plugin() gave no engine");
  }
}

void TrialEngine::initialize() {
  const bool usable =
      exam.require("initialize()", [&] { return engine->initialize(exam.packages()); });
  if (usable) {
    return;
  }
  exam.skip(exam.packages().empty()
                ? "the engine needs a package and there is none; name a folder with --packages"
                : "initialize() returned false: none of the " +
                      std::to_string(exam.packages().size()) +
                      " packages suits the engine; name a folder with --packages");
}

void TrialEngine::initializeToSpeak() {
  initialize();
  const std::vector<std::string> languages =
      exam.require("getAvailableLanguages()", [&] { return engine->getAvailableLanguages(); });
  if (languages.empty()) {
    exam.skip("the engine offers no language; name a folder of its packages with --packages");
  }
}

SpeechEvents TrialEngine::speak(const std::string& what, const std::string& text,
                                bool maybeSilent) {
  const std::size_t first = host->count();
  exam.require(what, [&] { engine->startSynthetizer(text); });
  SpeechEvents events = host->eventsOf(std::this_thread::get_id(), first);
  report(what, events, text, maybeSilent);
  return events;
}

void TrialEngine::speakWhole(const std::string& what) {
  const SpeechEvents events = speak(what, shortText);
  if (!events.empty() && events.back().kind == SpeechEvent::Kind::end) {
    exam.expect(events.back().how == SpeechEnd::finished,
                what + ": onEnd did not say \"finished\", though nothing cut the text short");
  }
}

void TrialEngine::report(const std::string& what, const SpeechEvents& events,
                         const std::string& text, bool maybeSilent) {
  const int rate =
      exam.require("getCurrentSamplingRate()", [&] { return engine->getCurrentSamplingRate(); });
  for (const std::string& complaint : judgeUtterance(events, {text, rate, maybeSilent})) {
    exam.find(what + ": " + complaint);
  }
}

void TrialEngine::terminate() {
  const bool terminated = exam.require("terminate()", [&] { return engine->terminate(); });
  if (!terminated) {
    exam.abandon("terminate() returned false on an engine that is at rest");
  }
}

void TrialEngine::destroy(Destruction how) {
  if (how == Destruction::byPlugin) {
    exam.require("unload_plugin()", [&] { plugin.destroyEngine(engine); });
  } else {
    exam.require("the engine's destructor", [&] { delete engine; });
  }
}

void TrialEngine::closeLibrary() {
  exam.require("closing the library", [&] { plugin.close(); });
}

// -------------------------------------------------------------------------------------------------

BackgroundUtterance::BackgroundUtterance(KQ::TextToSpeechEngine& engine, const std::string& text) {
  std::packaged_task<std::string()> task([&engine, text]() -> std::string {
    try {
      engine.startSynthetizer(text);
      return "";
    } catch (...) {
      return describeException().withType();
    }
  });
  result = task.get_future().share();
  runner = std::thread(std::move(task));
  id = runner.get_id();
}

BackgroundUtterance::~BackgroundUtterance() {
  if (endsWithin(std::chrono::milliseconds(0))) {
    runner.join();
  } else {
    runner.detach();
  }
}

bool BackgroundUtterance::endsWithin(std::chrono::milliseconds time) const {
  return result.wait_for(time) == std::future_status::ready;
}

AudioGate::AudioGate(EventRecorder& recorder) : state(std::make_shared<State>()) {
  recorder.react([gate = state](const SpeechEvent& event) {
    if (event.kind != SpeechEvent::Kind::audio) {
      return true;
    }
    std::unique_lock<std::mutex> lock(gate->mutex);
    gate->reached = true;
    gate->changed.notify_all();
    gate->changed.wait(lock, [&] { return gate->isOpen; });
    return true;
  });
}

bool AudioGate::reachedWithin(std::chrono::milliseconds time) {
  std::unique_lock<std::mutex> lock(state->mutex);
  return state->changed.wait_for(lock, time, [&] { return state->reached; });
}

void AudioGate::open() {
  const std::lock_guard<std::mutex> lock(state->mutex);
  state->isOpen = true;
  state->changed.notify_all();
}

}  // namespace tool
