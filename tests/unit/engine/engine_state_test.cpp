// A table of every public operation in every state: the hook that it calls, the arguments of that
// call, the flags afterwards, and the error.

#include <gmock/gmock.h>

#include <array>
#include <boost/thread/lock_types.hpp>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/errors.hpp"
#include "support/fake_engine.hpp"
#include "support/latch.hpp"
#include "support/row_name.hpp"

namespace {

using test::FakeEngine;

enum State { inactive, inactivePaused, active, paused, talking, stateCount };

constexpr const char* stateNames[] = {"inactive", "inactivePaused", "active", "paused", "talking"};

/// What an operation does in one state: the hooks it calls and the flags afterwards ("A"ctive,
/// "P"aused, "T"alking), or "throws" and the method text of the not-active error.
using Outcomes = std::array<std::string, stateCount>;

struct Operation {
  const char* name;
  std::function<void(FakeEngine&)> call;
  Outcomes outcomes;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
  *stream << operation.name;
}

/// The outcomes of an operation that needs an active engine and does not change the flags.
Outcomes guarded(const std::string& hooks, const std::string& method) {
  const std::string error = "throws " + method;
  return {error, error, hooks + " A", hooks + " AP", hooks + " AT"};
}

/// The outcomes of an operation that works in any state and does not change the flags.
Outcomes unguarded(const std::string& hooks) {
  return {hooks + " ", hooks + " P", hooks + " A", hooks + " AP", hooks + " AT"};
}

const std::vector<Operation>& operations() {
  static bool fallbackUsed = false;
  static std::string requested;
  using E = FakeEngine;
  static const std::vector<Operation> table = {
      {"initialize",
       [](E& e) { e.initialize({}); },
       {"[xInitialize] A", "[xInitialize] AP", "[] A", "[] AP", "[] AT"}},
      {"terminate",
       [](E& e) { e.terminate(); },
       {"[] ", "[] P", "[xTerminate] ", "[xTerminate] P", "[xTerminate] T"}},
      {"reload", [](E& e) { e.reload({}, fallbackUsed, requested); },
       guarded("[xGetCurrentLanguage, xTerminate, xInitialize, xGetAvailableLanguages, "
               "xSetCurrentLanguage English]",
               "getCurrentLanguage")},
      {"isInitialized", [](E& e) { e.isInitialized(); }, unguarded("[]")},
      {"isPaused", [](E& e) { e.isPaused(); }, unguarded("[]")},
      {"getName", [](E& e) { e.getName(); }, unguarded("[xGetName]")},
      {"deactivateLanguages", [](E& e) { e.deactivateLanguages({"English"}); }, unguarded("[]")},
      {"startSynthetizer",
       [](E& e) { e.startSynthetizer("hello"); },
       {"throws startTalking", "throws startTalking", "[xStartSynthetizer hello] A",
        "[xStartSynthetizer hello] AP", "[xStartSynthetizer hello] A"}},
      {"stopSynthetizer",
       [](E& e) { e.stopSynthetizer(); },
       {"throws stopSynthetizer", "throws stopSynthetizer", "[xStopSynthetizer] A",
        "[xStopSynthetizer] AP", "[xStopSynthetizer] A"}},
      {"pauseSynthetizer",
       [](E& e) { e.pauseSynthetizer(); },
       {"throws pauseSynthetizer", "[] P", "[xPauseSynthetizer] AP", "[] AP",
        "[xPauseSynthetizer] APT"}},
      {"restartSynthetizer",
       [](E& e) { e.restartSynthetizer(); },
       {"[] ", "throws restartSynthetizer", "[] A", "[xRestartSynthetizer] A", "[] AT"}},
      {"resetSpeed", [](E& e) { e.resetSpeed(); }, guarded("[xResetSpeed]", "setParameter")},
      {"setParameter", [](E& e) { e.setParameter("speed", 2.5F); },
       guarded("[xSetParameter speed 2.5]", "setParameter")},
      {"getParameter", [](E& e) { e.getParameter("speed"); },
       guarded("[xGetParameter speed]", "getParameter")},
      {"getAvailableParameters", [](E& e) { e.getAvailableParameters(); },
       unguarded("[xGetAvailableParameters]")},
      {"getCurrentSamplingRate", [](E& e) { e.getCurrentSamplingRate(); },
       guarded("[xGetCurrentSamplingRate]", "startTalking")},
      {"testTextEncoding", [](E& e) { e.testTextEncoding("text", "language"); },
       guarded("[xTestTextEncoding text language]", "startTalking")},
      {"setCurrentLanguage", [](E& e) { e.setCurrentLanguage("French"); },
       guarded("[xGetAvailableLanguages, xSetCurrentLanguage French]", "setCurrentLanguage")},
      {"getCurrentLanguage", [](E& e) { e.getCurrentLanguage(); },
       guarded("[xGetCurrentLanguage]", "getCurrentLanguage")},
      {"setCurrentVoice", [](E& e) { e.setCurrentVoice("Marie"); },
       guarded("[xGetAllAvailableVoices, xSetCurrentVoice Marie]", "getCurrentLanguage")},
      {"getCurrentVoice", [](E& e) { e.getCurrentVoice(); },
       guarded("[xGetCurrentVoice]", "getCurrentVoice")},
      {"getDefaultVoiceForLanguage", [](E& e) { e.getDefaultVoiceForLanguage("French"); },
       guarded("[xGetDefaultVoiceForLanguage French]", "getDefaultVoiceForLanguage")},
      {"getAvailableLanguages", [](E& e) { e.getAvailableLanguages(); },
       guarded("[xGetAvailableLanguages]", "getAvailableLanguages")},
      {"getAvailableVoices", [](E& e) { e.getAvailableVoices(); },
       guarded("[xGetAvailableVoices]", "getAvailableVoices")},
      {"getAllAvailableVoices", [](E& e) { e.getAllAvailableVoices(); },
       guarded("[xGetAllAvailableVoices]", "getAllAvailableVoices")},
      {"getOldLanguagesDetected", [](E& e) { e.getOldLanguagesDetected(); },
       unguarded("[xGetOldLanguagesDetected]")},
      {"getVoiceInstallDir", [](E& e) { e.getVoiceInstallDir("Anna"); },
       guarded("[xGetVoiceInstallDir Anna]", "getVoiceInstallDir")},
      {"setDefaultVoice", [](E& e) { e.setDefaultVoice(); },
       guarded("[xSetDefaultVoice]", "AddToDictionary")},
      {"loadDictionary", [](E& e) { e.loadDictionary(); },
       guarded("[xLoadDictionary]", "loadDictionary")},
      {"unloadDictionary", [](E& e) { e.unloadDictionary(); },
       guarded("[xUnloadDictionary]", "UnloadDictionary")},
      {"showDictionary", [](E& e) { e.showDictionary(); },
       guarded("[xShowDictionary]", "ShowDictionary")},
      {"deleteFromDictionary", [](E& e) { e.deleteFromDictionary("a", "b"); },
       guarded("[xDeleteFromDictionary a b]", "DeleteFromDictionary")},
      {"addToDictionary", [](E& e) { e.addToDictionary("a", "b", "c", "d", "e"); },
       guarded("[xAddToDictionary a b c d e]", "AddToDictionary")},
      {"applyEffect", [](E& e) { e.applyEffect("echo", true); },
       unguarded("[xApplyEffect echo on]")},
      {"loadEffect", [](E& e) { e.loadEffect("/effects/echo"); },
       unguarded("[xLoadEffect /effects/echo]")},
      {"enableFilter", [](E& e) { e.enableFilter(true); }, unguarded("[]")},
      {"getParamFromXml", [](E& e) { e.getParamFromXml("sourceVoice", "/nowhere.xml"); },
       unguarded("[]")},
      {"getVoiceNameFromXml", [](E& e) { e.getVoiceNameFromXml("/nowhere.xml"); }, unguarded("[]")},
  };
  return table;
}

std::string flagsOf(const FakeEngine& engine) {
  return std::string(engine.isInitialized() ? "A" : "") + (engine.isPaused() ? "P" : "") +
         (engine.isTalking() ? "T" : "");
}

std::string joined(const std::vector<std::string>& calls) {
  std::string text;
  for (const std::string& call : calls) {
    text += (text.empty() ? "" : ", ") + call;
  }
  return '[' + text + ']';
}

/// Runs an operation and returns what it did.
std::string outcomeOf(const Operation& operation, FakeEngine& engine) {
  const std::string flagsBefore = flagsOf(engine);
  try {
    operation.call(engine);
    return joined(engine.takeCalls()) + ' ' + flagsOf(engine);
  } catch (const KQError& error) {
    EXPECT_THAT([&] { throw KQError(error); }, test::throwsNotActive(error.getMethod()));
    EXPECT_EQ(joined(engine.takeCalls()), "[]") << "an error and a hook";
    EXPECT_EQ(flagsOf(engine), flagsBefore) << "an error and a change";
    return "throws " + error.getMethod();
  }
}

/// Like outcomeOf(), but another thread is inside the start hook.
std::string outcomeWhileTalking(const Operation& operation, FakeEngine& engine) {
  test::Latch entered;
  test::Latch release;
  engine.onCall = [&](const std::string& call) {
    if (call == "xStartSynthetizer running") {
      entered.open();
      release.wait();
    }
  };
  std::thread speaker([&] { engine.startSynthetizer("running"); });
  EXPECT_TRUE(entered.wait());
  engine.takeCalls();
  std::string outcome = outcomeOf(operation, engine);
  release.open();
  speaker.join();
  EXPECT_FALSE(engine.isTalking()) << "after the start";
  return outcome;
}

class EngineState : public testing::TestWithParam<Operation> {};

TEST_P(EngineState, DecidesWhatAnOperationDoes) {
  for (int state = inactive; state < stateCount; ++state) {
    FakeEngine engine;
    engine.setFlags(state >= active, state == inactivePaused || state == paused);
    const std::string outcome =
        state == talking ? outcomeWhileTalking(GetParam(), engine) : outcomeOf(GetParam(), engine);
    EXPECT_EQ(outcome, GetParam().outcomes[static_cast<std::size_t>(state)]) << stateNames[state];
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, EngineState, testing::ValuesIn(operations()), test::RowName());

/// Makes the lock public.
class LockedEngine : public FakeEngine {
 public:
  using FakeEngine::mutex;
};

bool isLocked(FakeEngine& engine) {
  boost::mutex& lock = engine.*(&LockedEngine::mutex);
  const bool taken = lock.try_lock();
  if (taken) {
    lock.unlock();
  }
  return !taken;
}

class EngineLock : public testing::TestWithParam<Operation> {};

TEST_P(EngineLock, IsTakenOnlyByStopPauseAndRestart) {
  const std::string name = GetParam().name;
  const bool locks =
      name == "stopSynthetizer" || name == "pauseSynthetizer" || name == "restartSynthetizer";
  FakeEngine engine;
  engine.setFlags(name != "initialize", name == "restartSynthetizer");
  bool lockedInside = false;
  engine.onCall = [&](const std::string&) { lockedInside = isLocked(engine); };

  GetParam().call(engine);

  EXPECT_EQ(lockedInside, locks);
  EXPECT_FALSE(isLocked(engine));
  if (!locks) {
    engine.setFlags(name != "initialize", false);
    const boost::unique_lock<boost::mutex> stopping(engine.*(&LockedEngine::mutex));
    GetParam().call(engine);  // would deadlock
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, EngineLock, testing::ValuesIn(operations()), test::RowName());

/// An exception of a hook passes through the operation that called the hook.
class ThrowingHook : public testing::TestWithParam<Operation> {};

TEST_P(ThrowingHook, PassesThroughTheOperation) {
  struct OfTheEngine {};
  FakeEngine engine;
  engine.setFlags(std::string(GetParam().name) != "initialize",
                  std::string(GetParam().name) == "restartSynthetizer");
  bool hookRan = false;
  engine.onCall = [&](const std::string&) {
    hookRan = true;
    throw OfTheEngine();
  };

  bool passed = false;
  try {
    GetParam().call(engine);
  } catch (const OfTheEngine&) {
    passed = true;
  }
  EXPECT_EQ(passed, hookRan);
}

INSTANTIATE_TEST_SUITE_P(Operations, ThrowingHook, testing::ValuesIn(operations()),
                         test::RowName());

}  // namespace
