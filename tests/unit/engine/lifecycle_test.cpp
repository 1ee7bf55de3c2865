#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <cstdlib>
#include <iostream>
#include <kq/speech_callback.hpp>
#include <kqtts/tts_language_info.hpp>
#include <stdexcept>

#include "support/errors.hpp"
#include "support/fake_engine.hpp"
#include "support/log_recorder.hpp"

namespace {

using test::FakeEngine;
using test::throwsKQError;
using test::throwsNotActive;
using testing::ElementsAre;
using testing::IsEmpty;
using zu::log::Level;

constexpr const char* engineFile = "perception/audio/libkqtts/src/texttospeech_engine";

const std::vector<zu::PackageInfo> packages = {
    {"uuid-1", "1.2.3", "/packages/one"}, {"", "", ""}, {"uuid-3", "0.1", "/packages/three"}};

bool samePackages(const std::vector<zu::PackageInfo>& lhs,
                  const std::vector<zu::PackageInfo>& rhs) {
  return std::equal(lhs.begin(), lhs.end(), rhs.begin(), rhs.end(),
                    [](const zu::PackageInfo& a, const zu::PackageInfo& b) {
                      return a.uuid == b.uuid && a.version == b.version && a.path == b.path;
                    });
}

/// Makes the fields that the constructor sets public.
class VisibleEngine : public FakeEngine {
 public:
  using FakeEngine::callback;
  using FakeEngine::FakeEngine;
  using FakeEngine::filterEnabled;
  using FakeEngine::languageInfo;
  using FakeEngine::reservedFirst;
  using FakeEngine::reservedSecond;
  using FakeEngine::talking;
};

TEST(ConstructionTest, ANewEngineIsNeitherActiveNorPausedNorTalking) {
  const VisibleEngine engine;

  EXPECT_FALSE(engine.isInitialized());
  EXPECT_FALSE(engine.isPaused());
  EXPECT_FALSE(engine.talking);
  EXPECT_FALSE(engine.reservedFirst);
  EXPECT_FALSE(engine.reservedSecond);
  EXPECT_TRUE(engine.filterEnabled);
}

TEST(ConstructionTest, KeepsTheCallbackAndASharedPointerToTheTable) {
  TextToSpeechEngineCallbackInterface callback;
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  {
    const VisibleEngine engine("Fake", &callback, table);
    EXPECT_EQ(engine.callback, &callback);
    EXPECT_EQ(engine.languageInfo, table);
    EXPECT_EQ(table.use_count(), 2);
  }
  EXPECT_EQ(table.use_count(), 1);
}

[[noreturn]] void tellCategories() {
  for (const std::string& category : zu::log::categories()) {
    std::cerr << category << ' ';
  }
  std::exit(0);
}

TEST(LogCategoriesTest, AreThreeWhenTheLibraryIsLoaded) {
  testing::FLAGS_gtest_death_test_style =
      "threadsafe";  // a new process, in which nothing was logged yet
  EXPECT_EXIT(tellCategories(), testing::ExitedWithCode(0),
              "^textospeechmanager texttospeechengine tts.preference $");
}

TEST(DestructionTest, CallsNoHook) {
  std::vector<std::string> calls;
  {
    FakeEngine engine;
    engine.initialize({});
    engine.onCall = [&](const std::string& call) { calls.push_back(call); };
  }
  EXPECT_THAT(calls, IsEmpty());
}

TEST(InitializeTest, HandsThePackagesToTheHookAndActivates) {
  FakeEngine engine;

  EXPECT_TRUE(engine.initialize(packages));

  EXPECT_TRUE(engine.isInitialized());
  EXPECT_TRUE(samePackages(engine.packages, packages));
}

TEST(InitializeTest, AHookThatRefusesLeavesTheEngineInactive) {
  FakeEngine engine;
  engine.initializeResult = false;

  EXPECT_FALSE(engine.initialize(packages));
  EXPECT_FALSE(engine.isInitialized());
}

TEST(InitializeTest, AHookThatThrowsLeavesTheEngineInactive) {
  FakeEngine engine;
  engine.onCall = [](const std::string&) { throw 17; };

  EXPECT_THROW(engine.initialize(packages), int);
  EXPECT_FALSE(engine.isInitialized());
}

TEST(InitializeTest, TheSecondTimeLogsAndCallsNoHook) {
  FakeEngine engine;
  engine.initialize(packages);
  engine.takeCalls();
  engine.initializeResult = false;
  const test::LogRecorder log;

  EXPECT_TRUE(engine.initialize(packages));

  EXPECT_TRUE(engine.isInitialized());
  EXPECT_THAT(engine.takeCalls(), IsEmpty());
  EXPECT_THAT(log.lines(), ElementsAre(test::LogLine{
                               Level::verbose, "texttospeechengine",
                               "initialize(): Cannot initialize an engine that is already active.",
                               engineFile, "initialize", 77}));
}

TEST(InitializeTest, TheFirstTimeLogsNothing) {
  FakeEngine engine;
  const test::LogRecorder log;
  engine.initialize(packages);
  engine.terminate();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(TerminateTest, CallsTheHookAndDeactivates) {
  FakeEngine engine;
  engine.initialize({});
  engine.takeCalls();

  EXPECT_TRUE(engine.terminate());

  EXPECT_FALSE(engine.isInitialized());
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xTerminate"));
}

TEST(TerminateTest, ANewEngineLogsAndCallsNoHook) {
  FakeEngine engine;
  engine.terminateResult = false;
  const test::LogRecorder log;

  EXPECT_TRUE(engine.terminate());

  EXPECT_THAT(engine.takeCalls(), IsEmpty());
  EXPECT_THAT(log.lines(), ElementsAre(test::LogLine{
                               Level::verbose, "audio.TextToSpeechEngine",
                               "terminate(): Cannot terminate an engine that is not active.",
                               engineFile, "terminate", 96}));
}

TEST(TerminateTest, AHookThatRefusesKeepsTheEngineActive) {
  FakeEngine engine;
  engine.initialize({});
  engine.terminateResult = false;

  EXPECT_FALSE(engine.terminate());
  EXPECT_TRUE(engine.isInitialized());
}

TEST(TerminateTest, AHookThatThrowsKeepsTheEngineActive) {
  FakeEngine engine;
  engine.initialize({});
  engine.onCall = [](const std::string&) { throw std::runtime_error("no"); };

  EXPECT_THROW(engine.terminate(), std::runtime_error);
  EXPECT_TRUE(engine.isInitialized());
}

TEST(TerminateTest, LeavesTheOtherFlags) {
  FakeEngine engine;
  engine.initialize({});
  engine.pauseSynthetizer();
  engine.onCall = [](const std::string& call) {
    if (call == "xStartSynthetizer hello") {
      throw std::runtime_error("interrupted");
    }
  };
  EXPECT_THROW(engine.startSynthetizer("hello"), std::runtime_error);

  engine.terminate();

  EXPECT_TRUE(engine.isPaused());
  EXPECT_TRUE(engine.isTalking());
}

TEST(TerminateTest, AnEngineCanBeInitializedAgain) {
  FakeEngine engine;
  engine.initialize({});
  engine.terminate();
  engine.takeCalls();

  EXPECT_TRUE(engine.initialize({}));
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xInitialize"));
}

class ReloadTest : public testing::Test {
 protected:
  ReloadTest() {
    engine.initialize({});
    engine.takeCalls();
  }

  void reload() { engine.reload(packages, fallbackUsed, requestedLanguage); }

  FakeEngine engine;
  bool fallbackUsed = false;
  std::string requestedLanguage;
};

TEST_F(ReloadTest, ThrowsForAnInactiveEngineBeforeAnythingChanges) {
  engine.terminate();
  engine.takeCalls();
  fallbackUsed = true;
  requestedLanguage = "Klingon";

  EXPECT_THAT([&] { reload(); }, throwsNotActive("getCurrentLanguage"));

  EXPECT_THAT(engine.takeCalls(), IsEmpty());
  EXPECT_TRUE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "Klingon");
}

TEST_F(ReloadTest, InitializesAgainAndRestoresTheLanguage) {
  engine.currentLanguage = "French";
  fallbackUsed = true;
  const test::LogRecorder log;

  reload();

  EXPECT_TRUE(samePackages(engine.packages, packages));
  EXPECT_THAT(engine.takeCalls(),
              ElementsAre("xGetCurrentLanguage", "xTerminate", "xInitialize",
                          "xGetAvailableLanguages", "xSetCurrentLanguage French"));
  EXPECT_FALSE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "");
  EXPECT_THAT(log.messages(), ElementsAre("Language French set\n"));
}

TEST_F(ReloadTest, WithoutALanguageSetsNothing) {
  engine.currentLanguage = "";
  fallbackUsed = true;
  requestedLanguage = "French";
  const test::LogRecorder log;

  reload();

  EXPECT_THAT(engine.takeCalls(), ElementsAre("xGetCurrentLanguage", "xTerminate", "xInitialize"));
  EXPECT_TRUE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "French");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ReloadTest, ALostLanguageFallsBackToEnglish) {
  engine.currentLanguage = "Klingon";
  const test::LogRecorder log;

  reload();

  EXPECT_EQ(engine.getCurrentLanguage(), "English");
  EXPECT_TRUE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "Klingon");
  EXPECT_THAT(log.lines(), ElementsAre(test::LogLine{Level::warning, "texttospeechengine",
                                                     "Cannot set : Klingon. Fallbacks to english.",
                                                     engineFile, "reload", 53},
                                       test::LogLine{Level::verbose, "texttospeechengine",
                                                     "Language English set\n", engineFile,
                                                     "setCurrentLanguage", 226}));
}

TEST_F(ReloadTest, AfterAFallbackTriesTheLanguageWantedFirst) {
  fallbackUsed = true;
  requestedLanguage = "French";
  const test::LogRecorder log;

  reload();

  EXPECT_EQ(engine.getCurrentLanguage(), "French");
  EXPECT_FALSE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "");
  ASSERT_FALSE(log.lines().empty());
  EXPECT_EQ(log.lines().front(),
            (test::LogLine{Level::info, "texttospeechengine",
                           "Try to reset the asked language before fallback: French", engineFile,
                           "reload", 41}));
}

TEST_F(ReloadTest, KeepsTheLanguageWantedAndNamesThePreviousOne) {
  fallbackUsed = true;
  requestedLanguage = "Klingon";
  const test::LogRecorder log;

  reload();

  EXPECT_EQ(engine.getCurrentLanguage(), "English");
  EXPECT_TRUE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "Klingon");
  EXPECT_THAT(log.messages(),
              ElementsAre("Try to reset the asked language before fallback: Klingon",
                          "Cannot set : English. Fallbacks to english.", "Language English set\n"));
}

TEST_F(ReloadTest, IgnoresALanguageWantedWithoutAFallback) {
  requestedLanguage = "French";

  reload();

  EXPECT_EQ(engine.getCurrentLanguage(), "English");
  EXPECT_EQ(requestedLanguage, "");
}

TEST_F(ReloadTest, ALaterFallbackKeepsALanguageWantedBefore) {
  engine.currentLanguage = "Klingon";
  requestedLanguage = "Quenya";  // not tried, because no fallback is in use

  reload();

  EXPECT_TRUE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "Quenya");
}

TEST_F(ReloadTest, WithoutEnglishTheErrorPassesAndTheVariablesStay) {
  engine.currentLanguage = "Klingon";
  engine.languages = {"French"};

  EXPECT_THAT([&] { reload(); },
              throwsKQError("Fake", "setCurrentLanguage",
                            "This engine does not support the following language: English"));
  EXPECT_FALSE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "");
}

TEST_F(ReloadTest, OnlyAKQErrorLeadsToTheFallback) {
  engine.onCall = [](const std::string& call) {
    if (call == "xSetCurrentLanguage English") {
      throw std::runtime_error("broken");
    }
  };
  const test::LogRecorder log;

  EXPECT_THROW(reload(), std::runtime_error);
  EXPECT_FALSE(fallbackUsed);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ReloadTest, AKQErrorOfTheHookLeadsToTheFallback) {
  engine.currentLanguage = "French";
  engine.onCall = [](const std::string& call) {
    if (call == "xSetCurrentLanguage French") {
      throw KQError("Fake", "load", "no data", nullptr, 0);
    }
  };

  reload();

  EXPECT_EQ(engine.getCurrentLanguage(), "English");
  EXPECT_EQ(requestedLanguage, "French");
}

TEST_F(ReloadTest, AnExceptionOfTerminatePasses) {
  engine.onCall = [](const std::string& call) {
    if (call == "xTerminate") {
      throw 17;
    }
  };

  EXPECT_THROW(reload(), int);
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xGetCurrentLanguage", "xTerminate"));
}

TEST_F(ReloadTest, AnExceptionOfInitializePasses) {
  engine.onCall = [](const std::string& call) {
    if (call == "xInitialize") {
      throw 17;
    }
  };

  EXPECT_THROW(reload(), int);
  EXPECT_FALSE(engine.isInitialized());
}

TEST_F(ReloadTest, AnEngineThatRefusesToTerminateStaysActiveAndGetsItsLanguageBack) {
  engine.terminateResult = false;

  reload();

  EXPECT_THAT(engine.takeCalls(),
              ElementsAre("xGetCurrentLanguage", "xTerminate", "xGetAvailableLanguages",
                          "xSetCurrentLanguage English"));
}

TEST_F(ReloadTest, AnEngineThatRefusesToInitializeEndsInTheNotActiveError) {
  engine.initializeResult = false;

  EXPECT_THAT([&] { reload(); }, throwsNotActive("setCurrentLanguage"));
  EXPECT_FALSE(fallbackUsed);
}

TEST_F(ReloadTest, TheCallersVariablesFollowALanguageThatIsRemovedAndInstalled) {
  engine.currentLanguage = "Klingon";
  reload();
  reload();
  EXPECT_TRUE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "Klingon");

  engine.languages.emplace_back("Klingon");
  reload();

  EXPECT_EQ(engine.getCurrentLanguage(), "Klingon");
  EXPECT_FALSE(fallbackUsed);
  EXPECT_EQ(requestedLanguage, "");
}

}  // namespace
