// A table of all operations that the manager only forwards.

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/errors.hpp"
#include "support/latch.hpp"
#include "support/log_recorder.hpp"
#include "support/row_name.hpp"
#include "test_manager.hpp"

namespace {

using test::FakeEngine;
using test::TestManager;
using test::throwsKQError;
using test::throwsNotActive;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* managerName = "TextToSpeechManager";

struct Operation {
  const char* name;
  std::function<void(TestManager&)> call;
  const char* hook;             ///< the call that reaches the engine's hook
  bool exclusive;               ///< whether the manager's lock is held during the call
  const char* withoutLanguage;  ///< method text when there is no current language, null: no check
  const char* inactiveManager;  ///< method text when the manager is inactive, null: no check
  const char* inactiveEngine;   ///< the same for the engine
};

void PrintTo(const Operation& operation, std::ostream* stream) {
  *stream << operation.name;
}

using M = TestManager;

const std::vector<Operation> operations = {
    {"startSynthetizer", [](M& m) { m.startSynthetizer("hello"); }, "xStartSynthetizer hello", true,
     "startSynthetizer", "startTalking", "startTalking"},
    {"stopSynthetizer", [](M& m) { m.stopSynthetizer(); }, "xStopSynthetizer", false,
     "stopSynthetizer", "stopSynthetizer", "stopSynthetizer"},
    {"pauseSynthetizer", [](M& m) { m.pauseSynthetizer(); }, "xPauseSynthetizer", false,
     "pauseSynthetizer", "pauseSynthetizer", "pauseSynthetizer"},
    {"restartSynthetizer",
     [](M& m) {
       m.paused = true;
       m.restartSynthetizer();
     },
     "xRestartSynthetizer", false, "pauseSynthetizer", "restartSynthetizer", "restartSynthetizer"},
    {"resetSpeed", [](M& m) { m.resetSpeed(); }, "xResetSpeed", true, "resetSpeed", "setParameter",
     "setParameter"},
    {"setParameter", [](M& m) { m.setParameter("speed", 2.5F); }, "xSetParameter speed 2.5", true,
     "setParameter", "setParameter", "setParameter"},
    {"getParameter", [](M& m) { EXPECT_EQ(m.getParameter("speed"), 1.5F); }, "xGetParameter speed",
     true, "getParameter", "getParameter", "getParameter"},
    {"getAvailableParameters",
     [](M& m) { EXPECT_THAT(m.getAvailableParameters(), ElementsAre("speed")); },
     "xGetAvailableParameters", false, "getAvailableParameters", nullptr, nullptr},
    {"getCurrentSamplingRate", [](M& m) { EXPECT_EQ(m.getCurrentSamplingRate(), 22050); },
     "xGetCurrentSamplingRate", false, "getAvailableParameters", "startTalking", "startTalking"},
    {"testTextEncodingOfTheHook",
     [](M& m) { EXPECT_EQ(m.xTestTextEncoding("text", "Japanese"), 7); },
     "xTestTextEncoding text Japanese", false, nullptr, nullptr, "startTalking"},
    {"enableFilter", [](M& m) { m.enableFilter(false); }, nullptr, false, "pauseSynthetizer",
     nullptr, nullptr},
    {"loadEffect", [](M& m) { m.loadEffect("/effects/echo"); }, "xLoadEffect /effects/echo", false,
     "pauseSynthetizer", nullptr, nullptr},
    {"applyEffect", [](M& m) { m.applyEffect("echo", true); }, "xApplyEffect echo on", false,
     "pauseSynthetizer", nullptr, nullptr},
    {"loadDictionary", [](M& m) { m.loadDictionary(); }, "xLoadDictionary", false, nullptr, nullptr,
     "loadDictionary"},
    {"unloadDictionary", [](M& m) { m.unloadDictionary(); }, "xUnloadDictionary", false, nullptr,
     nullptr, "UnloadDictionary"},
    {"showDictionary", [](M& m) { m.showDictionary(); }, "xShowDictionary", false, nullptr, nullptr,
     "ShowDictionary"},
    {"deleteFromDictionary", [](M& m) { EXPECT_TRUE(m.deleteFromDictionary("a", "b")); },
     "xDeleteFromDictionary a b", false, nullptr, nullptr, "DeleteFromDictionary"},
    {"addToDictionary", [](M& m) { EXPECT_TRUE(m.addToDictionary("a", "b", "c", "d", "e")); },
     "xAddToDictionary a b c d e", false, nullptr, nullptr, "AddToDictionary"},
    {"setDefaultVoice", [](M& m) { m.setDefaultVoice(); }, "xSetDefaultVoice", false, nullptr,
     nullptr, "AddToDictionary"},
    {"getCurrentVoice", [](M& m) { EXPECT_EQ(m.getCurrentVoice(), "Anna"); }, "xGetCurrentVoice",
     false, nullptr, "getCurrentVoice", "getCurrentVoice"},
};

class ForwardingTest : public testing::Test {
 protected:
  ForwardingTest() {
    manager.active = true;
    manager.currentLanguage = "English";
  }
  ~ForwardingTest() override {
    if (engine) {
      engine->onCall = nullptr;  // the manager terminates it
    }
  }

  TestManager manager;
  boost::shared_ptr<FakeEngine> other = manager.add("aitalk", {"Japanese"}, {});
  boost::shared_ptr<FakeEngine> engine = manager.add("nuance", {"English"}, {});
};

class Forwarding : public ForwardingTest, public testing::WithParamInterface<Operation> {
 protected:
  Forwarding() {
    if (std::string(GetParam().name) == "restartSynthetizer") {
      engine->setFlags(true, true);
    }
  }

  void call() { GetParam().call(manager); }
};

TEST_P(Forwarding, ReachesTheEngineOfTheCurrentLanguageOnce) {
  call();

  if (GetParam().hook != nullptr) {
    EXPECT_THAT(engine->takeCalls(), ElementsAre(GetParam().hook));
  }
  EXPECT_THAT(other->takeCalls(), IsEmpty());
}

TEST_P(Forwarding, HoldsTheManagersLockOnlyWhereItMust) {
  bool locked = !GetParam().exclusive;
  bool tablesLocked = false;
  engine->onCall = [&](const std::string&) {
    locked = manager.isLocked();
    tablesLocked = !manager.tablesMutex.try_lock();
    if (!tablesLocked) {
      manager.tablesMutex.unlock();
    }
  };

  call();

  if (GetParam().hook != nullptr) {
    EXPECT_EQ(locked, GetParam().exclusive);
  }
  EXPECT_FALSE(tablesLocked);
  EXPECT_FALSE(manager.isLocked());
}

TEST_P(Forwarding, DoesNotWaitForTheManagersLockUnlessItTakesIt) {
  if (GetParam().exclusive) {
    return;
  }
  manager.managerMutex.lock();
  call();  // would deadlock
  manager.managerMutex.unlock();
}

TEST_P(Forwarding, WithoutALanguageNamesTheMethodAndForwardsNothing) {
  manager.currentLanguage = "";

  if (GetParam().withoutLanguage != nullptr) {
    EXPECT_THAT([this] { call(); }, throwsKQError(managerName, GetParam().withoutLanguage,
                                                  "You need to specify a language first."));
  } else {
    EXPECT_THAT([this] { call(); }, throwsKQError(managerName, "xGetEngine",
                                                  " is not currently supported or not installed."));
  }
  EXPECT_THAT(engine->takeCalls(), IsEmpty());
  EXPECT_FALSE(manager.isLocked());
}

TEST_P(Forwarding, ALanguageWithoutEngineIsNamed) {
  manager.currentLanguage = "Klingon";

  EXPECT_THAT([this] { call(); },
              throwsKQError(managerName, "xGetEngine",
                            "Klingon is not currently supported or not installed."));
  EXPECT_FALSE(manager.isLocked());
}

TEST_P(Forwarding, AnEngineThatWasUnloadedIsNamedByItsLanguage) {
  manager.xUnloadPlugin("nuance");
  engine->takeCalls();

  EXPECT_THAT([this] { call(); },
              throwsKQError(managerName, "xGetEngine",
                            "English is not currently supported or not installed."));
  EXPECT_THAT(engine->takeCalls(), IsEmpty());
}

TEST_P(Forwarding, AnInactiveManagerRefusesOnlyThroughTheGuardedOperations) {
  manager.active = false;

  if (GetParam().inactiveManager != nullptr) {
    EXPECT_THAT([this] { call(); }, throwsNotActive(GetParam().inactiveManager));
    EXPECT_THAT(engine->takeCalls(), IsEmpty());
  } else {
    EXPECT_NO_THROW(call());
  }
}

TEST_P(Forwarding, TheErrorOfAnInactiveEnginePasses) {
  engine->setFlags(false, engine->isPaused());

  if (GetParam().inactiveEngine != nullptr) {
    EXPECT_THAT([this] { call(); }, throwsNotActive(GetParam().inactiveEngine));
  } else {
    EXPECT_NO_THROW(call());
  }
  EXPECT_FALSE(manager.isLocked());
}

TEST_P(Forwarding, AnExceptionOfTheHookPassesUnchangedAndTheLockIsReleased) {
  struct OfTheEngine {};
  engine->onCall = [](const std::string&) { throw OfTheEngine(); };

  if (GetParam().hook != nullptr) {
    EXPECT_THROW(call(), OfTheEngine);
  }
  EXPECT_FALSE(manager.isLocked());
}

TEST_P(Forwarding, AnEngineThatIsDroppedDuringACallLivesUntilItsEnd) {
  bool destroyed = false;
  bool destroyedInside = false;
  bool lockedAtTheEnd = false;
  FakeEngine* const target = engine.get();
  target->onDestruction = [&] {
    destroyed = true;
    lockedAtTheEnd = manager.isLocked();
  };
  engine.reset();
  target->onCall = [&](const std::string&) {
    manager.engines.clear();
    destroyedInside = destroyed;
  };

  call();
  manager.engines.clear();

  EXPECT_FALSE(destroyedInside);
  EXPECT_TRUE(destroyed);
  EXPECT_FALSE(lockedAtTheEnd);
}

INSTANTIATE_TEST_SUITE_P(Operations, Forwarding, testing::ValuesIn(operations), test::RowName());

// What does not fit into the table -------------------------------------------------------------

TEST_F(ForwardingTest, EnableFilterSwitchesTheEnginesFilterAndNotTheManagers) {
  manager.enableFilter(false);
  EXPECT_FALSE(engine->isFilterEnabled());
  EXPECT_TRUE(manager.filterEnabled);
  EXPECT_TRUE(other->isFilterEnabled());

  static_cast<KQ::TextToSpeechEngine&>(manager).enableFilter(true);  // virtual
  EXPECT_TRUE(engine->isFilterEnabled());
}

TEST_F(ForwardingTest, AnswersOfTheEnginePassUnchanged) {
  engine->dictionaryResult = false;
  engine->parameter = -7.0F;
  engine->parameters = {};
  engine->samplingRate = 8000;
  engine->encodingResult = -1;

  EXPECT_FALSE(manager.deleteFromDictionary("a", "b"));
  EXPECT_FALSE(manager.addToDictionary("a", "b", "c", "d", "e"));
  EXPECT_EQ(manager.getParameter("any"), -7.0F);
  EXPECT_THAT(manager.getAvailableParameters(), IsEmpty());
  EXPECT_EQ(manager.getCurrentSamplingRate(), 8000);
  EXPECT_EQ(manager.testTextEncoding("text", "English"), -1);
}

TEST_F(ForwardingTest, TheEncodingTestAsksTheEngineOfTheLanguageNamed) {
  other->encodingResult = 3;

  EXPECT_EQ(manager.testTextEncoding("text", "Japanese"), 3);

  EXPECT_THAT(other->takeCalls(), ElementsAre("xTestTextEncoding text Japanese"));
  EXPECT_THAT(engine->takeCalls(), IsEmpty());
}

TEST_F(ForwardingTest, TheEncodingTestNeedsNeitherACurrentLanguageNorAnActiveManager) {
  manager.currentLanguage = "";
  manager.active = false;
  EXPECT_EQ(manager.testTextEncoding("text", "Japanese"), 7);
}

TEST_F(ForwardingTest, TheEncodingTestOfAnUnservedLanguageNamesIt) {
  EXPECT_THAT([&] { manager.testTextEncoding("text", "Klingon"); },
              throwsKQError(managerName, "xGetEngine",
                            "Klingon is not currently supported or not installed."));
}

TEST_F(ForwardingTest, TheEncodingTestThroughTheBaseAsksTheEngineOfTheCurrentLanguage) {
  KQ::TextToSpeechEngine& base = manager;
  base.testTextEncoding("text", "Japanese");
  EXPECT_THAT(engine->takeCalls(), ElementsAre("xTestTextEncoding text Japanese"));
}

TEST_F(ForwardingTest, TheManagerItselfHasNoDictionaryWhenCalledThroughTheBase) {
  KQ::TextToSpeechEngine& base = manager;
  const test::LogRecorder log;

  base.loadDictionary();
  base.unloadDictionary();
  base.showDictionary();
  EXPECT_FALSE(base.deleteFromDictionary("a", "b"));
  EXPECT_FALSE(base.addToDictionary("a", "b", "c", "d", "e"));
  base.setDefaultVoice();
  base.applyEffect("echo", true);
  base.loadEffect("/effects/echo");
  base.deactivateLanguages({"English"});

  EXPECT_EQ(log.lines().size(), 8U);
  EXPECT_THAT(engine->takeCalls(), IsEmpty());
}

TEST_F(ForwardingTest, APauseThroughTheManagerPausesBoth) {
  manager.pauseSynthetizer();
  EXPECT_TRUE(manager.isPaused());
  EXPECT_TRUE(engine->isPaused());

  manager.restartSynthetizer();
  EXPECT_FALSE(manager.isPaused());
  EXPECT_FALSE(engine->isPaused());
}

TEST_F(ForwardingTest, APauseThatTheEngineRefusesPausesNeither) {
  engine->onCall = [](const std::string&) { throw std::runtime_error("busy"); };
  EXPECT_THROW(manager.pauseSynthetizer(), std::runtime_error);
  EXPECT_FALSE(manager.isPaused());
  EXPECT_FALSE(engine->isPaused());
}

TEST_F(ForwardingTest, DuringAStartBothTalk) {
  bool both = false;
  engine->onCall = [&](const std::string&) { both = manager.talking && engine->isTalking(); };
  manager.startSynthetizer("hello");
  EXPECT_TRUE(both);
  EXPECT_FALSE(manager.talking);
  EXPECT_FALSE(engine->isTalking());
}

TEST_F(ForwardingTest, LoadEffectOfTheManagerIsAnnouncedOnceByTheEngine) {
  testing::internal::CaptureStdout();
  manager.loadEffect("/effects/echo");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Engine load effect \"/effects/echo\"\n");
}

TEST_F(ForwardingTest, StopPauseAndRestartReachTheEngineWhileAStartIsRunning) {
  test::Latch entered;
  test::Latch release;
  engine->onCall = [&](const std::string& call) {
    if (call == "xStartSynthetizer hello") {
      entered.open();
      release.wait();
    }
  };
  std::thread speaker([&] { manager.startSynthetizer("hello"); });
  ASSERT_TRUE(entered.wait());

  manager.pauseSynthetizer();
  manager.restartSynthetizer();
  manager.stopSynthetizer();

  EXPECT_THAT(engine->takeCalls(), ElementsAre("xStartSynthetizer hello", "xPauseSynthetizer",
                                               "xRestartSynthetizer", "xStopSynthetizer"));
  release.open();
  speaker.join();
}

TEST_F(ForwardingTest, GettersAnswerWhileAStartIsRunning) {
  manager.add("nuance", {"English"}, {{"Anna", "English"}});
  engine = boost::static_pointer_cast<FakeEngine>(manager.engines["nuance"]);
  bool asked = false;
  engine->onCall = [&](const std::string& call) {
    if (call != "xStartSynthetizer hello") {
      return;
    }
    asked = true;
    EXPECT_FALSE(manager.isPaused());
    EXPECT_TRUE(manager.isInitialized());
    EXPECT_EQ(manager.getName(), managerName);
    EXPECT_EQ(manager.getCurrentLanguage(), "English");
    EXPECT_EQ(manager.getCurrentVoice(), "Anna");
    EXPECT_EQ(manager.getDefaultVoiceForLanguage("English"), "Anna");
    EXPECT_EQ(manager.getVoiceInstallDir("Anna"), "/voices/Anna");
    EXPECT_EQ(manager.getLanguage("Anna"), "English");
    EXPECT_EQ(manager.getCurrentSamplingRate(), 22050);
    EXPECT_THAT(manager.getAvailableLanguages(), ElementsAre("Japanese", "English"));
    EXPECT_EQ(manager.getAllAvailableVoices().size(), 1U);
    manager.getAvailableVoices();
    manager.getOldLanguagesDetected();
    manager.getAvailableParameters();
  };

  manager.startSynthetizer("hello");

  EXPECT_TRUE(asked);
}

}  // namespace
