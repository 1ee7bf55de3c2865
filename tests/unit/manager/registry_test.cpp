#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <exception>
#include <functional>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "plugin_folder.hpp"
#include "support/log_recorder.hpp"
#include "support/row_name.hpp"
#include "test_manager.hpp"

namespace {

using test::TestManager;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using zu::log::Level;

/// Matches a verbose message of the manager.
auto managerMessage(const std::string& function, const std::string& message) {
  return AllOf(
      Field("level", &test::LogLine::level, Level::verbose),
      Field("category", &test::LogLine::category, "audio.texttospeechmanager"),
      Field("file", &test::LogLine::file, "perception/audio/libkqtts/src/texttospeech_manager"),
      Field("function", &test::LogLine::function, function),
      Field("message", &test::LogLine::message, message),
      Field("line", &test::LogLine::line, testing::Gt(0)));
}

// Construction ---------------------------------------------------------------------------------

TEST(ManagerConstructionTest, LoadsNothingAndIsEmpty) {
  const test::PluginFolder folder;
  folder.install("nuance", "scripted");
  const test::LogRecorder log;

  const TestManager manager;

  EXPECT_FALSE(manager.isInitialized());
  EXPECT_EQ(manager.currentLanguage, "");
  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_THAT(manager.languageEngines, IsEmpty());
  EXPECT_THAT(manager.voiceLanguages, IsEmpty());
  EXPECT_THAT(manager.availableVoices, IsEmpty());
  EXPECT_THAT(journal::take(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ManagerConstructionTest, KeepsTheCallbackAndTheTableForItselfAndItsBase) {
  TextToSpeechEngineCallbackInterface callback;
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  {
    const TestManager manager(&callback, table);
    EXPECT_EQ(manager.callback, &callback);
    EXPECT_EQ(manager.engineCallback, &callback);
    EXPECT_EQ(manager.languageInfo, table);
    EXPECT_EQ(manager.sharedLanguageInfo, table);
    EXPECT_EQ(table.use_count(), 3);
  }
  EXPECT_EQ(table.use_count(), 1);
}

TEST(ManagerConstructionTest, RegistersItsLogCategoryWithItsOddSpelling) {
  EXPECT_THAT(zu::log::categories(), Contains("textospeechmanager"));
}

TEST(ManagerNameTest, IsFixed) {
  EXPECT_EQ(TestManager().getName(), "TextToSpeechManager");
}

// Loading one plug-in --------------------------------------------------------------------------

class RegistryTest : public testing::Test {
 protected:
  bool load(const std::string& name, const std::vector<zu::PackageInfo>& packages = {}) {
    return manager.xLoadPlugin(name, packages, nullptr);
  }

  test::PluginFolder folder;
  TestManager manager;
};

TEST_F(RegistryTest, LoadingPutsTheInitializedEngineIntoTheRegistry) {
  folder.install("x", "scripted");
  const test::LogRecorder log;

  EXPECT_TRUE(load("x"));

  ASSERT_THAT(manager.engines, ElementsAre(Pair("x", Not(nullptr))));
  EXPECT_TRUE(manager.engines["x"]->isInitialized());
  EXPECT_THAT(journal::take(), ElementsAre("x load_plugin", "x xInitialize"));
  EXPECT_THAT(log.lines(), IsEmpty());
  manager.xUnloadPlugin("x");
}

TEST_F(RegistryTest, LoadingHandsOnTheCallbackAndTheGivenTable) {
  folder.install("x", "scripted");
  TextToSpeechEngineCallbackInterface callback;
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  TestManager other(&callback, nullptr);

  other.xLoadPlugin("x", {}, table);

  EXPECT_EQ((*other.engines["x"]).*(&TestManager::callback), &callback);
  EXPECT_EQ((*other.engines["x"]).*(&TestManager::languageInfo), table);
  other.xUnloadPlugin("x");
}

TEST_F(RegistryTest, LoadingDoesNotChangeTheRouting) {
  folder.install("x", "scripted");
  load("x", {{"x", "language", "French"}, {"x", "voice", "Marie=French"}});

  EXPECT_THAT(manager.languageEngines, IsEmpty());
  EXPECT_THAT(manager.voiceLanguages, IsEmpty());
  EXPECT_THAT(manager.availableVoices, IsEmpty());
  EXPECT_EQ(manager.currentLanguage, "");
  manager.xUnloadPlugin("x");
}

TEST_F(RegistryTest, LoadingAnUnknownPluginFailsWithOnlyTheLoadersMessage) {
  const test::LogRecorder log;
  EXPECT_FALSE(load("absent"));
  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_THAT(log.messages(), ElementsAre("Could not find plugin: absent"));
}

TEST_F(RegistryTest, AnEngineThatRefusesIsHandedBackAndLeavesNoTrace) {
  folder.install("x", "scripted");
  const test::LogRecorder log;

  EXPECT_FALSE(load("x", {{"x", "refuse", "xInitialize"}}));

  EXPECT_THAT(journal::take(), ElementsAre("x load_plugin", "x xInitialize", "x unload_plugin",
                                           "x destroyed", "x closed"));
  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_THAT(log.lines(),
              ElementsAre(managerMessage("xLoadPlugin", "Unable to initialize x engine")));
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(RegistryTest, ARefusalIsLoggedBeforeTheEngineIsHandedBack) {
  folder.install("x", "scripted");
  const test::LogRecorder log;
  std::size_t loggedBefore = 0;
  journal::setListener([&](const std::string& event) {
    if (event == "x unload_plugin") {
      loggedBefore = log.lines().size();
    }
  });

  load("x", {{"x", "refuse", "xInitialize"}});

  EXPECT_EQ(loggedBefore, 1U);
}

TEST_F(RegistryTest, AnEngineThatRefusesLeavesTheEarlierOneOfItsName) {
  folder.install("x", "scripted");
  load("x");
  const auto earlier = manager.engines["x"];

  EXPECT_FALSE(load("x", {{"x", "refuse", "xInitialize"}}));

  EXPECT_EQ(manager.engines["x"], earlier);
  manager.xUnloadPlugin("x");
}

class FailingInitialize : public RegistryTest, public testing::WithParamInterface<const char*> {};

TEST_P(FailingInitialize, PassesItsExceptionAndLeavesNoTrace) {
  folder.install("x", "scripted");
  const test::LogRecorder log;

  EXPECT_ANY_THROW(load("x", {{"x", "throw", std::string("xInitialize=") + GetParam()}}));

  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Kinds, FailingInitialize,
                         testing::Values("own", "ownRuntimeError", "ownKQError", "KQError",
                                         "runtimeError", "int", "text"));

TEST_F(RegistryTest, AnExceptionOfInitializePassesUnchanged) {
  folder.install("x", "scripted");
  try {
    load("x", {{"x", "throw", "xInitialize=ownKQError"}});
    FAIL() << "no exception";
  } catch (const KQError& error) {
    EXPECT_EQ(error.getDescription(), "own error");
    EXPECT_STREQ(error.getFile(), "plugin.cpp");
    EXPECT_EQ(error.getLine(), 7);
  }
}

TEST_F(RegistryTest, AnExceptionOfTheEntryPointPasses) {
  folder.install("x", "throwing_entry");
  EXPECT_THROW(load("x"), std::runtime_error);
  EXPECT_THAT(manager.engines, IsEmpty());
}

TEST_F(RegistryTest, LoadingANameTwiceReplacesTheEngine) {
  folder.install("x", "scripted");
  load("x");
  auto first = manager.engines["x"];
  journal::take();

  EXPECT_TRUE(load("x"));

  EXPECT_NE(manager.engines["x"], first);
  EXPECT_THAT(journal::take(), ElementsAre("x load_plugin", "x xInitialize"));
  first.reset();
  EXPECT_THAT(journal::take(), ElementsAre("x destroyed"));
  EXPECT_TRUE(folder.isMapped("x"));
  manager.xUnloadPlugin("x");
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(RegistryTest, AReplacedEngineThatNobodyHoldsIsDestroyedAtOnce) {
  folder.install("x", "scripted");
  load("x");
  journal::take();
  load("x");
  EXPECT_THAT(journal::take(), ElementsAre("x load_plugin", "x xInitialize", "x destroyed"));
  manager.xUnloadPlugin("x");
}

// Unloading one plug-in ------------------------------------------------------------------------

TEST_F(RegistryTest, UnloadingTerminatesDestroysAndCloses) {
  folder.install("x", "scripted");
  load("x");
  journal::take();
  const test::LogRecorder log;

  EXPECT_TRUE(manager.xUnloadPlugin("x"));

  EXPECT_THAT(journal::take(), ElementsAre("x xTerminate", "x destroyed", "x closed"));
  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RegistryTest, UnloadingLeavesTheTables) {
  folder.install("x", "scripted");
  load("x");
  manager.currentLanguage = "French";
  manager.languageEngines = {{"French", "x"}};
  manager.voiceLanguages = {{"Marie", "French"}};
  manager.availableVoices = {{"Marie", "French"}};

  manager.xUnloadPlugin("x");

  EXPECT_EQ(manager.currentLanguage, "French");
  EXPECT_THAT(manager.languageEngines, ElementsAre(Pair("French", "x")));
  EXPECT_THAT(manager.voiceLanguages, ElementsAre(Pair("Marie", "French")));
  EXPECT_THAT(manager.availableVoices, ElementsAre(Pair("Marie", "French")));
}

TEST_F(RegistryTest, UnloadingWhatWasNeverLoadedIsLogged) {
  const auto engine = manager.add("aitalk", {"English"}, {});
  const test::LogRecorder log;

  EXPECT_FALSE(manager.xUnloadPlugin("nuance"));

  EXPECT_THAT(log.lines(),
              ElementsAre(managerMessage("xUnloadPlugin", "Unable to unload nuance engine.")));
  EXPECT_THAT(manager.engines, ElementsAre(Pair("aitalk", engine)));
}

TEST_F(RegistryTest, AnEngineThatRefusesToTerminateIsUnloadedNevertheless) {
  folder.install("x", "scripted");
  load("x", {{"x", "refuse", "xTerminate"}});

  EXPECT_TRUE(manager.xUnloadPlugin("x"));

  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(RegistryTest, AnExceptionOfTerminatePassesAndTheEngineStays) {
  const auto engine = manager.add("aitalk", {"English"}, {});
  engine->onCall = [](const std::string&) { throw std::runtime_error("busy"); };

  EXPECT_THROW(manager.xUnloadPlugin("aitalk"), std::runtime_error);

  EXPECT_THAT(manager.engines, ElementsAre(Pair("aitalk", engine)));
  engine->onCall = nullptr;
}

TEST_F(RegistryTest, ALibraryWithoutUnloadEntryPointIsClosedAfterItsEngine) {
  folder.install("x", "without_unload");
  load("x");
  journal::take();

  manager.xUnloadPlugin("x");

  EXPECT_THAT(journal::take(), ElementsAre("x xTerminate", "x destroyed", "x closed"));
}

TEST_F(RegistryTest, AnEngineHeldByTheHostOutlivesItsUnload) {
  folder.install("x", "scripted");
  load("x");
  boost::shared_ptr<KQ::TextToSpeechEngine> held = manager.engines["x"];
  journal::take();

  manager.xUnloadPlugin("x");

  EXPECT_THAT(journal::take(), ElementsAre("x xTerminate"));
  EXPECT_TRUE(folder.isMapped("x"));
  EXPECT_EQ(held->getName(), "x");
  held.reset();
  EXPECT_THAT(journal::take(), ElementsAre("x xGetName", "x destroyed", "x closed"));
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(RegistryTest, AnEngineHeldByTheHostOutlivesTheManager) {
  folder.install("x", "scripted");
  std::optional<TestManager> shortLived(std::in_place);
  shortLived->xLoadPlugin("x", {}, nullptr);
  const boost::shared_ptr<KQ::TextToSpeechEngine> held = shortLived->engines["x"];

  shortLived.reset();

  EXPECT_TRUE(folder.isMapped("x"));
  EXPECT_EQ(held->getName(), "x");
}

TEST_F(RegistryTest, AnUnloadedEngineThatOutlivesTheManagerKeepsItsLibrary) {
  folder.install("x", "scripted");
  std::optional<TestManager> shortLived(std::in_place);
  shortLived->xLoadPlugin("x", {}, nullptr);
  boost::shared_ptr<KQ::TextToSpeechEngine> held = shortLived->engines["x"];
  shortLived->xUnloadPlugin("x");
  shortLived.reset();
  journal::take();

  held.reset();

  EXPECT_THAT(journal::take(), ElementsAre("x destroyed"));
  EXPECT_TRUE(folder.isMapped("x"));
}

TEST_F(RegistryTest, AnEngineLoadedWhileItsPredecessorTerminatesStays) {
  folder.install("x", "scripted");
  load("x");
  const auto predecessor = manager.engines["x"];
  journal::setListener([&](const std::string& event) {
    if (event == "x xTerminate") {
      load("x");
    }
  });

  EXPECT_TRUE(manager.xUnloadPlugin("x"));

  journal::setListener(nullptr);
  ASSERT_THAT(manager.engines, ElementsAre(Pair("x", Not(predecessor))));
  EXPECT_EQ(manager.engines["x"]->getName(), "x");
  manager.xUnloadPlugin("x");
}

TEST_F(RegistryTest, APluginMayLoadAnotherWhileItIsLoaded) {
  folder.install("x", "scripted");
  folder.install("y", "scripted");
  journal::setListener([&](const std::string& event) {
    if (event == "x load_plugin") {
      load("y");
    }
  });

  EXPECT_TRUE(load("x"));

  EXPECT_THAT(manager.engines, ElementsAre(Pair("x", Not(nullptr)), Pair("y", Not(nullptr))));
}

/// Makes the loader's map public.
class OpenLoader : public KQ::TtsPluginManager {
 public:
  using TtsPluginManager::plugins;
};

TEST_F(RegistryTest, AnEngineIsForgottenBeforeItsAddressIsFree) {
  folder.install("x", "scripted");
  load("x");
  std::size_t listed = 1;
  journal::setListener([&](const std::string& event) {
    if (event == "x destroyed") {
      listed = (manager.pluginManager.*(&OpenLoader::plugins)).size();
    }
  });

  manager.xUnloadPlugin("x");

  EXPECT_EQ(listed, 0U);
}

/// A derived manager may put engines into the registry itself.
class EngineOfADerivedManager : public RegistryTest {
 protected:
  EngineOfADerivedManager() {
    folder.install("x", "scripted");
    manager.engines["x"].reset(manager.pluginManager.load("x", nullptr, nullptr));
    journal::take();
  }
};

TEST_F(EngineOfADerivedManager, IsDestroyedThenItsLibraryClosed) {
  EXPECT_TRUE(manager.xUnloadPlugin("x"));

  EXPECT_THAT(journal::take(), ElementsAre("x destroyed", "x closed"));
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(EngineOfADerivedManager, KeepsItsLibraryIfSomebodyElseHoldsIt) {
  auto held = manager.engines["x"];

  EXPECT_TRUE(manager.xUnloadPlugin("x"));

  ASSERT_TRUE(folder.isMapped("x"));
  EXPECT_EQ(held->getName(), "x");
  held.reset();
  EXPECT_TRUE(folder.isMapped("x"));
}

TEST_F(RegistryTest, AnEngineThatADerivedManagerDropsLeavesItsLibraryOpen) {
  folder.install("x", "scripted");
  load("x");
  journal::take();

  manager.engines.erase("x");

  EXPECT_THAT(journal::take(), ElementsAre("x destroyed"));
  EXPECT_TRUE(folder.isMapped("x"));
}

// Teardown -------------------------------------------------------------------------------------

TEST_F(RegistryTest, TerminatingUnloadsInAFixedOrder) {
  std::vector<std::string> events;
  for (const char* name : {"aitalk", "log", "nuance"}) {
    const auto engine = manager.add(name, {"English"}, {});
    engine->onCall = [&events, name](const std::string& call) {
      events.push_back(name + (" " + call));
    };
    engine->onDestruction = [&events, name] { events.push_back(name + std::string(" destroyed")); };
  }
  manager.active = true;
  events.clear();

  EXPECT_TRUE(manager.terminate());

  EXPECT_THAT(events, ElementsAre("log xTerminate", "log destroyed", "aitalk xTerminate",
                                  "aitalk destroyed", "nuance xTerminate", "nuance destroyed"));
  EXPECT_FALSE(manager.isInitialized());
}

TEST_F(RegistryTest, TerminatingWithoutEnginesLogsThreeTimesAndSucceeds) {
  const test::LogRecorder log;

  EXPECT_TRUE(manager.xTerminate());

  EXPECT_THAT(log.lines(),
              ElementsAre(managerMessage("xUnloadPlugin", "Unable to unload log engine."),
                          managerMessage("xUnloadPlugin", "Unable to unload aitalk engine."),
                          managerMessage("xUnloadPlugin", "Unable to unload nuance engine.")));
}

TEST_F(RegistryTest, TerminatingClearsTheRoutingTablesOnly) {
  manager.add("aitalk", {"English"}, {{"Anna", "English"}});
  manager.currentLanguage = "English";
  manager.availableVoices = {{"Anna", "English"}};

  manager.xTerminate();

  EXPECT_THAT(manager.languageEngines, IsEmpty());
  EXPECT_THAT(manager.voiceLanguages, IsEmpty());
  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_EQ(manager.currentLanguage, "English");
  EXPECT_THAT(manager.availableVoices, ElementsAre(Pair("Anna", "English")));
}

TEST_F(RegistryTest, TheTablesAreClearedBeforeTheEnginesTerminate) {
  const auto engine = manager.add("log", {"English"}, {{"Anna", "English"}});
  bool cleared = false;
  engine->onCall = [&](const std::string&) {
    cleared = manager.languageEngines.empty() && manager.voiceLanguages.empty();
  };
  manager.xTerminate();
  EXPECT_TRUE(cleared);
}

TEST_F(RegistryTest, TerminatingReleasesEnginesUnderOtherNamesWithoutTerminatingThem) {
  folder.install("x", "scripted");
  load("x");
  journal::take();

  manager.xTerminate();

  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_THAT(journal::take(),
              testing::AllOf(Contains("x destroyed"), Not(Contains("x xTerminate"))));
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(RegistryTest, AnExceptionOfAnEngineLeavesTheManagerActiveAndTheRestLoaded) {
  const auto log = manager.add("log", {"English"}, {});
  const auto nuance = manager.add("nuance", {"French"}, {});
  log->onCall = [](const std::string&) { throw 17; };
  manager.active = true;

  EXPECT_THROW(manager.terminate(), int);

  EXPECT_TRUE(manager.isInitialized());
  EXPECT_THAT(manager.engines, ElementsAre(Pair("log", log), Pair("nuance", nuance)));
  log->onCall = nullptr;
}

TEST_F(RegistryTest, TheDestructorTerminates) {
  folder.install("aitalk", "scripted");
  folder.install("nuance", "scripted");
  {
    TestManager shortLived;
    shortLived.initialize({});
    journal::take();
  }
  EXPECT_THAT(journal::take(),
              ElementsAre("aitalk xTerminate", "aitalk destroyed", "aitalk closed",
                          "nuance xTerminate", "nuance destroyed", "nuance closed"));
}

TEST_F(RegistryTest, TheDestructorOfAnInactiveManagerReleasesItsEnginesWithoutTerminatingThem) {
  folder.install("x", "scripted");
  {
    TestManager shortLived;
    shortLived.xLoadPlugin("x", {}, nullptr);
    journal::take();
  }
  EXPECT_THAT(journal::take(), ElementsAre("x destroyed"));
}

TEST_F(RegistryTest, AnExceptionOfAShutDownInTheDestructorEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        TestManager shortLived;
        shortLived.add("log", {"English"}, {})->onCall = [](const std::string&) { throw 17; };
        shortLived.active = true;
      },
      "");
}

// Exceptions whose type a plug-in defines ------------------------------------------------------

struct Exception {
  const char* name;
  bool outlivesThePlugin;
};

void PrintTo(const Exception& exception, std::ostream* stream) {
  *stream << exception.name;
}

class PluginException : public RegistryTest, public testing::WithParamInterface<Exception> {};

/// Anybody may keep an exception of the plug-in's own type for ever, so its library is never
/// closed. An exception of another type does not keep the library open.
TEST_P(PluginException, KeepsItsLibraryOpenIfItMayLiveThere) {
  folder.install("nuance", "scripted");
  manager.initialize({{"nuance", "language", "English"},
                      {"nuance", "current", "English"},
                      {"nuance", "throw", std::string("xStartSynthetizer=") + GetParam().name}});
  std::exception_ptr held;
  try {
    manager.startSynthetizer("hello");
  } catch (...) {
    held = std::current_exception();
  }
  ASSERT_TRUE(held);

  manager.terminate();

  EXPECT_EQ(folder.isMapped("nuance"), !GetParam().outlivesThePlugin);
  EXPECT_THAT(journal::take(), Contains("nuance destroyed"));
  try {
    std::rethrow_exception(std::exchange(held, nullptr));
  } catch (const KQError& error) {
    EXPECT_STREQ(error.getFile(), "plugin.cpp");
    EXPECT_EQ(error.getModule(), "Plugin");
    EXPECT_THAT(error.what(), testing::HasSubstr("Plugin::method: "));
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("runtime error"));
  } catch (...) {
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, PluginException,
                         testing::Values(Exception{"own", false},
                                         Exception{"ownRuntimeError", false},
                                         Exception{"ownKQError", false}, Exception{"int", false},
                                         Exception{"text", false}, Exception{"KQError", true},
                                         Exception{"runtimeError", true}),
                         test::RowName());

/// An exception of a type that plug-in and host share.
struct SharedException {
  const char* name;
  std::function<void()> raise;
};

void PrintTo(const SharedException& exception, std::ostream* stream) {
  *stream << exception.name;
}

class ExceptionOfTheStandardLibrary : public RegistryTest,
                                      public testing::WithParamInterface<SharedException> {};

TEST_P(ExceptionOfTheStandardLibrary, KeepsNothingOpen) {
  folder.install("nuance", "scripted");
  manager.initialize({{"nuance", "language", "English"}, {"nuance", "current", "English"}});
  journal::setListener([](const std::string& event) {
    if (event == "nuance xResetSpeed") {
      GetParam().raise();
    }
  });
  EXPECT_ANY_THROW(manager.resetSpeed());

  manager.terminate();

  EXPECT_FALSE(folder.isMapped("nuance"));
}

INSTANTIATE_TEST_SUITE_P(
    Types, ExceptionOfTheStandardLibrary,
    testing::Values(SharedException{"runtimeError", [] { throw std::runtime_error("x"); }},
                    SharedException{"logicError", [] { throw std::logic_error("x"); }},
                    SharedException{"badAlloc", [] { throw std::bad_alloc(); }},
                    SharedException{"outOfRange", [] { throw std::out_of_range("x"); }},
                    SharedException{"invalidArgument", [] { throw std::invalid_argument("x"); }},
                    SharedException{"lengthError", [] { throw std::length_error("x"); }},
                    SharedException{"domainError", [] { throw std::domain_error("x"); }},
                    SharedException{"rangeError", [] { throw std::range_error("x"); }}),
    test::RowName());

/// An operation through which an exception of a hook reaches the host.
struct Passage {
  const char* name;
  const char* hook;
  std::function<void(TestManager&)> call;
};

void PrintTo(const Passage& passage, std::ostream* stream) {
  *stream << passage.name;
}

const std::vector<zu::PackageInfo> oneVoice = {{"nuance", "language", "English"},
                                               {"nuance", "current", "English"},
                                               {"nuance", "voice", "Anna=English"}};

using M = TestManager;

void initializeAgain(M& manager) {
  manager.active = false;
  manager.initialize(oneVoice);
}

const std::vector<Passage> passages = {
    {"firstLanguage", "xGetCurrentLanguage", initializeAgain},
    {"mergedLanguages", "xGetAvailableLanguages", initializeAgain},
    {"mergedVoices", "xGetAllAvailableVoices", initializeAgain},
    {"mergedAvailableVoices", "xGetAvailableVoices", initializeAgain},
    {"unload", "xTerminate", [](M& m) { m.xUnloadPlugin("nuance"); }},
    {"start", "xStartSynthetizer", [](M& m) { m.startSynthetizer("hello"); }},
    {"stop", "xStopSynthetizer", [](M& m) { m.stopSynthetizer(); }},
    {"pause", "xPauseSynthetizer", [](M& m) { m.pauseSynthetizer(); }},
    {"restart", "xRestartSynthetizer",
     [](M& m) {
       m.pauseSynthetizer();
       m.restartSynthetizer();
     }},
    {"resetSpeed", "xResetSpeed", [](M& m) { m.resetSpeed(); }},
    {"setParameter", "xSetParameter", [](M& m) { m.setParameter("speed", 1.0F); }},
    {"getParameter", "xGetParameter", [](M& m) { m.getParameter("speed"); }},
    {"getAvailableParameters", "xGetAvailableParameters", [](M& m) { m.getAvailableParameters(); }},
    {"getCurrentSamplingRate", "xGetCurrentSamplingRate", [](M& m) { m.getCurrentSamplingRate(); }},
    {"testTextEncoding", "xTestTextEncoding", [](M& m) { m.testTextEncoding("a", "English"); }},
    {"testTextEncodingOfTheHook", "xTestTextEncoding", [](M& m) { m.xTestTextEncoding("a", "b"); }},
    {"setCurrentLanguage", "xSetCurrentLanguage", [](M& m) { m.setCurrentLanguage("English"); }},
    {"languageAsTheEngineSpellsIt", "xGetCurrentLanguage",
     [](M& m) { m.setCurrentLanguage("English"); }},
    {"getAvailableLanguages", "xGetAvailableLanguages", [](M& m) { m.getAvailableLanguages(); }},
    {"getOldLanguagesDetected", "xGetOldLanguagesDetected",
     [](M& m) { m.getOldLanguagesDetected(); }},
    {"setCurrentVoice", "xSetCurrentVoice", [](M& m) { m.setCurrentVoice("Anna"); }},
    {"getCurrentVoice", "xGetCurrentVoice", [](M& m) { m.getCurrentVoice(); }},
    {"getDefaultVoiceForLanguage", "xGetDefaultVoiceForLanguage",
     [](M& m) { m.getDefaultVoiceForLanguage("English"); }},
    {"getVoiceInstallDir", "xGetVoiceInstallDir", [](M& m) { m.getVoiceInstallDir("Anna"); }},
    {"setDefaultVoice", "xSetDefaultVoice", [](M& m) { m.setDefaultVoice(); }},
    {"loadEffect", "xLoadEffect", [](M& m) { m.loadEffect("/effects/echo"); }},
    {"applyEffect", "xApplyEffect", [](M& m) { m.applyEffect("echo", true); }},
    {"loadDictionary", "xLoadDictionary", [](M& m) { m.loadDictionary(); }},
    {"unloadDictionary", "xUnloadDictionary", [](M& m) { m.unloadDictionary(); }},
    {"showDictionary", "xShowDictionary", [](M& m) { m.showDictionary(); }},
    {"deleteFromDictionary", "xDeleteFromDictionary",
     [](M& m) { m.deleteFromDictionary("a", "b"); }},
    {"addToDictionary", "xAddToDictionary",
     [](M& m) { m.addToDictionary("a", "b", "c", "d", "e"); }},
};

class ExceptionOfAHook : public RegistryTest, public testing::WithParamInterface<Passage> {};

TEST_P(ExceptionOfAHook, KeepsTheLibraryOpenThroughEveryOperation) {
  struct OfThePlugin {};
  folder.install("nuance", "scripted");
  manager.initialize(oneVoice);
  journal::setListener([](const std::string& event) {
    const std::string call = std::string("nuance ") + GetParam().hook;
    if (event == call || event.rfind(call + ' ', 0) == 0) {
      throw OfThePlugin();
    }
  });
  EXPECT_THROW(GetParam().call(manager), OfThePlugin);
  journal::setListener(nullptr);

  manager.xTerminate();

  EXPECT_TRUE(folder.isMapped("nuance"));
}

INSTANTIATE_TEST_SUITE_P(Operations, ExceptionOfAHook, testing::ValuesIn(passages),
                         test::RowName());

}  // namespace
