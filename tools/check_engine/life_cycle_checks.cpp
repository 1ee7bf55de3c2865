#include <functional>

#include "check_engine/checks.hpp"
#include "check_engine/trial_engine.hpp"

namespace tool {

namespace {

/// Operations that an engine refuses while it is not active.
const std::vector<std::pair<const char*, std::function<void(KQ::TextToSpeechEngine&)>>>
    activeOperations = {
        {"startSynthetizer()", [](auto& engine) { engine.startSynthetizer(shortText); }},
        {"stopSynthetizer()", [](auto& engine) { engine.stopSynthetizer(); }},
        {"pauseSynthetizer()", [](auto& engine) { engine.pauseSynthetizer(); }},
        {"resetSpeed()", [](auto& engine) { engine.resetSpeed(); }},
        {"getParameter()", [](auto& engine) { engine.getParameter("speed"); }},
        {"getCurrentSamplingRate()", [](auto& engine) { engine.getCurrentSamplingRate(); }},
        {"getCurrentLanguage()", [](auto& engine) { engine.getCurrentLanguage(); }},
        {"getCurrentVoice()", [](auto& engine) { engine.getCurrentVoice(); }},
        {"getAvailableLanguages()", [](auto& engine) { engine.getAvailableLanguages(); }},
        {"getAllAvailableVoices()", [](auto& engine) { engine.getAllAvailableVoices(); }},
        {"setDefaultVoice()", [](auto& engine) { engine.setDefaultVoice(); }},
};

void expectInactive(const Examination& exam, KQ::TextToSpeechEngine& engine,
                    const std::string& when) {
  exam.expect(!engine.isInitialized(), "isInitialized() is true " + when);
  for (const auto& [name, operation] : activeOperations) {
    exam.expectRefusal(std::string(name) + " " + when, [&, run = operation] { run(engine); });
  }
}

}  // namespace

void checkEntryPoints(const Examination& exam) {
  TrialEngine engine(exam);
  const std::string name = exam.require("getName()", [&] { return engine->getName(); });
  exam.expect(!name.empty(), "getName() is empty");
  exam.note("the engine calls itself \"" + name + "\"");
  if (!engine.library().canUnload()) {
    exam.note("there is no unload_plugin(), which is allowed: the host destroys the engine");
  }
}

void checkBeforeInitialize(const Examination& exam) {
  TrialEngine engine(exam);
  exam.require("getAvailableParameters() before initialize()",
               [&] { engine->getAvailableParameters(); });
  exam.require("getOldLanguagesDetected() before initialize()",
               [&] { engine->getOldLanguagesDetected(); });
  exam.require("enableFilter() before initialize()", [&] { engine->enableFilter(true); });
  expectInactive(exam, *engine, "before initialize()");
  engine.terminate();
  exam.expect(!engine->isInitialized(), "isInitialized() is true after terminate()");
}

void checkInitialize(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initialize();
  exam.expect(engine->isInitialized(), "isInitialized() is false after initialize()");
  const bool again =
      exam.require("a second initialize()", [&] { return engine->initialize(exam.packages()); });
  exam.expect(again, "a second initialize() returned false");
}

void checkLifeCycle(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initialize();
  const auto languages =
      exam.require("getAvailableLanguages()", [&] { return engine->getAvailableLanguages(); });
  const auto language =
      exam.require("getCurrentLanguage()", [&] { return engine->getCurrentLanguage(); });
  engine.terminate();
  expectInactive(exam, *engine, "after terminate()");
  engine.terminate();
  engine.initialize();
  exam.expect(engine->getAvailableLanguages() == languages,
              "terminated and initialised again, the engine offers other languages than before");

  bool fallbackUsed = false;
  std::string requestedLanguage;
  exam.require("reload()",
               [&] { engine->reload(exam.packages(), fallbackUsed, requestedLanguage); });
  exam.expect(engine->isInitialized(), "the engine is not active after reload()");
  exam.expect(!fallbackUsed, "reload() lost the language " + language + " and fell back");
  if (engine->isInitialized() && !language.empty()) {
    exam.expect(engine->getCurrentLanguage() == language,
                "the current language is " + engine->getCurrentLanguage() +
                    " after reload(); it was " + language);
  }
}

void checkSecondEngine(const Examination& exam) {
  TrialEngine first(exam);
  first.initialize();
  exam.step("a second engine beside the first");
  TrialEngine second(exam);
  if (&*first == &*second) {
    exam.abandon("load_plugin() gave the same engine twice");
  }
  second.initialize();
  const auto languages = first->getAvailableLanguages();
  second.terminate();
  if (second.library().canUnload()) {
    second.destroy(TrialEngine::Destruction::byPlugin);
    second.closeLibrary();
  }
  exam.expect(first->isInitialized(), "the end of the second engine made the first one inactive");
  const auto remaining = exam.require("getAvailableLanguages() after the second engine's end",
                                      [&] { return first->getAvailableLanguages(); });
  exam.expect(remaining == languages,
              "the end of the second engine changed the languages of the first");
  if (!languages.empty()) {
    first.speakWhole("an utterance after the second engine's end");
  }
}

}  // namespace tool
