#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <kq/error.hpp>
#include <kqtts/tts_language_info.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "plugin_folder.hpp"
#include "support/log_recorder.hpp"
#include "support/row_name.hpp"
#include "test_manager.hpp"

namespace {

using test::TestManager;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

using Packages = std::vector<zu::PackageInfo>;

/// The packages that give an engine one language, which is current, and one voice of it.
Packages packagesFor(const std::string& plugin, const std::string& language,
                     const std::string& voice) {
  return {{plugin, "language", language},
          {plugin, "current", language},
          {plugin, "voice", voice + '=' + language},
          {plugin, "available", voice + "=of " + plugin}};
}

Packages operator+(Packages lhs, const Packages& rhs) {
  lhs.insert(lhs.end(), rhs.begin(), rhs.end());
  return lhs;
}

class InitializationTest : public testing::Test {
 protected:
  /// Makes plug-ins of these names available.
  void offer(const std::vector<std::string>& names) const {
    for (const std::string& name : names) {
      folder.install(name, "scripted");
    }
  }

  test::PluginFolder folder;
  TestManager manager;
};

TEST_F(InitializationTest, WithoutPluginsFailsAndChangesNothing) {
  manager.currentLanguage = "Klingon";

  EXPECT_FALSE(manager.initialize(packagesFor("nuance", "English", "Anna")));

  EXPECT_FALSE(manager.isInitialized());
  EXPECT_EQ(manager.currentLanguage, "Klingon");
  EXPECT_THAT(manager.engines, IsEmpty());
  EXPECT_THAT(manager.languageEngines, IsEmpty());
  EXPECT_THAT(manager.voiceLanguages, IsEmpty());
  EXPECT_THAT(manager.availableVoices, IsEmpty());
}

TEST_F(InitializationTest, LoadsThePluginsInAFixedOrder) {
  offer({"aitalk", "nuance", "log"});

  EXPECT_TRUE(manager.initialize({}));

  EXPECT_TRUE(manager.isInitialized());
  const std::vector<std::string> events = journal::take();
  EXPECT_THAT(std::vector<std::string>(events.begin(), events.begin() + 7),
              ElementsAre("aitalk load_plugin", "aitalk xInitialize", "nuance load_plugin",
                          "nuance xInitialize", "nuance xGetCurrentLanguage", "log load_plugin",
                          "log xInitialize"));
}

TEST_F(InitializationTest, MergesTheEnginesInTheOrderOfTheirNames) {
  offer({"aitalk", "nuance", "log"});
  manager.initialize({});

  std::vector<std::string> events = journal::take();
  events.erase(events.begin(), events.begin() + 7);
  EXPECT_THAT(events, ElementsAre("aitalk xGetAvailableLanguages", "aitalk xGetAllAvailableVoices",
                                  "aitalk xGetAvailableVoices", "log xGetAvailableLanguages",
                                  "log xGetAllAvailableVoices", "log xGetAvailableVoices",
                                  "nuance xGetAvailableLanguages", "nuance xGetAllAvailableVoices",
                                  "nuance xGetAvailableVoices"));
}

TEST_F(InitializationTest, EveryEngineGetsAllPackagesUnchanged) {
  offer({"aitalk", "nuance", "log"});
  const Packages packages = {{"a", "1.0", "/a"}, {"", "", ""}, {"nuance", "old", "French"}};

  manager.initialize(packages);

  for (const auto& entry : manager.engines) {
    // The plug-in has its own copy of the class FakeEngine; the layout is the same.
    const auto& engine = static_cast<const test::FakeEngine&>(*entry.second);
    ASSERT_EQ(engine.packages.size(), packages.size()) << entry.first;
    EXPECT_EQ(engine.packages[0].uuid, "a");
    EXPECT_EQ(engine.packages[0].version, "1.0");
    EXPECT_EQ(engine.packages[0].path, "/a");
    EXPECT_EQ(engine.packages[1].uuid, "");
    EXPECT_EQ(engine.packages[2].path, "French");
  }
}

TEST_F(InitializationTest, EnginesGetTheTableOfTheManager) {
  offer({"nuance"});
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  TestManager other(nullptr, table);

  other.initialize({});

  EXPECT_EQ((*other.engines["nuance"]).*(&TestManager::languageInfo), table);
}

// The first current language -------------------------------------------------------------------

struct Choice {
  const char* name;
  std::vector<std::string> plugins;
  const char* currentLanguage;
};

void PrintTo(const Choice& choice, std::ostream* stream) {
  *stream << choice.name;
}

class FirstLanguage : public InitializationTest, public testing::WithParamInterface<Choice> {};

TEST_P(FirstLanguage, ComesFromTheMostImportantEngine) {
  offer(GetParam().plugins);
  manager.currentLanguage = "before";

  EXPECT_TRUE(manager.initialize({{"aitalk", "current", "Japanese"},
                                  {"nuance", "current", "French"},
                                  {"log", "current", "English"}}));

  EXPECT_EQ(manager.getCurrentLanguage(), GetParam().currentLanguage);
}

INSTANTIATE_TEST_SUITE_P(Plugins, FirstLanguage,
                         testing::Values(Choice{"All", {"aitalk", "nuance", "log"}, "French"},
                                         Choice{"Nuance", {"nuance"}, "French"},
                                         Choice{"NuanceAndLog", {"nuance", "log"}, "French"},
                                         Choice{"Aitalk", {"aitalk"}, "Japanese"},
                                         Choice{"AitalkAndLog", {"aitalk", "log"}, "Japanese"},
                                         Choice{"LogAlone", {"log"}, "before"}),
                         test::RowName());

TEST_F(InitializationTest, AnEngineWithoutCurrentLanguageLeavesTheManagerWithoutOne) {
  offer({"nuance", "aitalk"});
  manager.currentLanguage = "before";
  manager.initialize({{"aitalk", "current", "Japanese"}});
  EXPECT_EQ(manager.getCurrentLanguage(), "");
}

// The tables -----------------------------------------------------------------------------------

TEST_F(InitializationTest, OneEngineServesAllItsLanguagesAndVoices) {
  offer({"aitalk"});

  manager.initialize(packagesFor("aitalk", "Japanese", "Yuki") +
                     packagesFor("aitalk", "English", "Anna"));

  EXPECT_THAT(manager.languageEngines,
              ElementsAre(Pair("English", "aitalk"), Pair("Japanese", "aitalk")));
  EXPECT_THAT(manager.voiceLanguages,
              ElementsAre(Pair("Anna", "English"), Pair("Yuki", "Japanese")));
  EXPECT_THAT(manager.availableVoices,
              ElementsAre(Pair("Anna", "of aitalk"), Pair("Yuki", "of aitalk")));
}

TEST_F(InitializationTest, NuanceWinsOverLogWhichWinsOverAitalk) {
  offer({"aitalk", "nuance", "log"});

  manager.initialize(
      packagesFor("aitalk", "English", "Anna") + packagesFor("log", "English", "Anna") +
      packagesFor("nuance", "English", "Anna") + packagesFor("aitalk", "French", "Marie") +
      packagesFor("log", "French", "Marie"));

  EXPECT_THAT(manager.languageEngines,
              ElementsAre(Pair("English", "nuance"), Pair("French", "log")));
  EXPECT_THAT(manager.availableVoices,
              ElementsAre(Pair("Anna", "of nuance"), Pair("Marie", "of log")));
  EXPECT_THAT(manager.getAvailableLanguages(),
              ElementsAre("English", "French", "English", "French", "English"));
}

TEST_F(InitializationTest, AVoiceOfSeveralEnginesHasTheLanguageOfTheLastOne) {
  offer({"aitalk", "nuance", "log"});

  manager.initialize({{"aitalk", "voice", "Anna=of aitalk"},
                      {"log", "voice", "Anna=of log"},
                      {"nuance", "voice", "Anna=of nuance"},
                      {"aitalk", "voice", "Marie=of aitalk"},
                      {"log", "voice", "Marie=of log"}});

  EXPECT_THAT(manager.getAllAvailableVoices(),
              ElementsAre(Pair("Anna", "of nuance"), Pair("Marie", "of log")));
}

TEST_F(InitializationTest, TheTablesAreNotClearedFirst) {
  offer({"nuance"});
  manager.languageEngines = {{"Klingon", "nuance"}, {"English", "aitalk"}};
  manager.voiceLanguages = {{"Worf", "Klingon"}, {"Anna", "Klingon"}};
  manager.availableVoices = {{"Worf", "x"}};

  manager.initialize(packagesFor("nuance", "English", "Anna"));

  EXPECT_THAT(manager.languageEngines,
              ElementsAre(Pair("English", "nuance"), Pair("Klingon", "nuance")));
  EXPECT_THAT(manager.voiceLanguages,
              ElementsAre(Pair("Anna", "English"), Pair("Worf", "Klingon")));
  EXPECT_THAT(manager.availableVoices, ElementsAre(Pair("Anna", "of nuance"), Pair("Worf", "x")));
}

TEST_F(InitializationTest, AgainAfterTerminateWithFewerEnginesLeavesStaleAvailableVoices) {
  offer({"aitalk", "nuance"});
  const Packages packages =
      packagesFor("aitalk", "Japanese", "Yuki") + packagesFor("nuance", "English", "Anna");
  manager.initialize(packages);
  manager.terminate();
  folder.install("aitalk", "null_engine");

  EXPECT_TRUE(manager.initialize(packages));

  EXPECT_THAT(manager.languageEngines, ElementsAre(Key("English")));
  EXPECT_THAT(manager.voiceLanguages, ElementsAre(Key("Anna")));
  EXPECT_THAT(manager.availableVoices, ElementsAre(Key("Anna"), Key("Yuki")));
}

// Plug-ins that fail ---------------------------------------------------------------------------

TEST_F(InitializationTest, AnEngineThatRefusesDoesNotStopTheOthers) {
  offer({"aitalk", "nuance", "log"});
  const test::LogRecorder log;

  EXPECT_TRUE(
      manager.initialize({{"nuance", "refuse", "xInitialize"}, {"aitalk", "current", "Japanese"}}));

  EXPECT_THAT(manager.engines, ElementsAre(Key("aitalk"), Key("log")));
  EXPECT_EQ(manager.getCurrentLanguage(), "Japanese");
  EXPECT_THAT(log.messages(), ElementsAre("Unable to initialize nuance engine"));
}

class UnusablePlugin : public InitializationTest,
                       public testing::WithParamInterface<const char*> {};

TEST_P(UnusablePlugin, DoesNotStopTheOthers) {
  offer({"aitalk", "log"});
  folder.install("nuance", GetParam());

  EXPECT_TRUE(manager.initialize({}));

  EXPECT_THAT(manager.engines, ElementsAre(Key("aitalk"), Key("log")));
}

INSTANTIATE_TEST_SUITE_P(Fixtures, UnusablePlugin,
                         testing::Values("null_engine", "not_a_library", "unresolved",
                                         "without_entry"));

TEST_F(InitializationTest, OnlyEnginesThatRefuseMakeItFail) {
  offer({"aitalk", "nuance", "log"});
  EXPECT_FALSE(manager.initialize({{"aitalk", "refuse", "xInitialize"},
                                   {"nuance", "refuse", "xInitialize"},
                                   {"log", "refuse", "xInitialize"}}));
  EXPECT_FALSE(manager.isInitialized());
}

TEST_F(InitializationTest, AnExceptionPassesAndReleasesTheLock) {
  offer({"aitalk", "nuance"});

  EXPECT_THROW(manager.initialize(packagesFor("aitalk", "Japanese", "Yuki") +
                                  Packages{{"nuance", "throw", "xGetAvailableLanguages=KQError"}}),
               KQError);

  EXPECT_FALSE(manager.isInitialized());
  EXPECT_THAT(manager.languageEngines, ElementsAre(Pair("Japanese", "aitalk")));
  EXPECT_TRUE(manager.managerMutex.try_lock());
  manager.managerMutex.unlock();
}

struct Interruption {
  const char* hook;
  std::size_t languages, voices, available;  ///< entries written before the exception
};

class InterruptedMerge : public InitializationTest,
                         public testing::WithParamInterface<Interruption> {};

TEST_P(InterruptedMerge, KeepsWhatWasWrittenBefore) {
  offer({"nuance"});

  EXPECT_THROW(manager.initialize(
                   packagesFor("nuance", "English", "Anna") +
                   Packages{{"nuance", "throw", std::string(GetParam().hook) + "=runtimeError"}}),
               std::runtime_error);

  EXPECT_EQ(manager.languageEngines.size(), GetParam().languages);
  EXPECT_EQ(manager.voiceLanguages.size(), GetParam().voices);
  EXPECT_EQ(manager.availableVoices.size(), GetParam().available);
}

INSTANTIATE_TEST_SUITE_P(Hooks, InterruptedMerge,
                         testing::Values(Interruption{"xGetCurrentLanguage", 0, 0, 0},
                                         Interruption{"xGetAvailableLanguages", 0, 0, 0},
                                         Interruption{"xGetAllAvailableVoices", 1, 0, 0},
                                         Interruption{"xGetAvailableVoices", 1, 1, 0}));

TEST_F(InitializationTest, HoldsTheManagersLockThroughout) {
  offer({"aitalk", "nuance", "log"});
  std::vector<std::string> unlocked;
  journal::setListener([&](const std::string& event) {
    if (manager.managerMutex.try_lock()) {
      manager.managerMutex.unlock();
      unlocked.push_back(event);
    }
  });

  manager.initialize({});
  journal::setListener(nullptr);

  EXPECT_THAT(unlocked, IsEmpty());
  EXPECT_TRUE(manager.managerMutex.try_lock());
  manager.managerMutex.unlock();
}

TEST_F(InitializationTest, GettersAnswerWhileItRuns) {
  offer({"nuance", "log"});
  bool asked = false;
  journal::setListener([&](const std::string& event) {
    if (event == "log xInitialize") {
      asked = true;
      EXPECT_EQ(manager.xGetName(), "TextToSpeechManager");
      EXPECT_THAT(manager.getOldLanguagesDetected(), ElementsAre("Klingon"));
    }
  });

  manager.initialize({{"nuance", "old", "Klingon"}});
  journal::setListener(nullptr);

  EXPECT_TRUE(asked);
}

}  // namespace
