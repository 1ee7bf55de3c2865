#include <gmock/gmock.h>

#include <kq/error.hpp>
#include <stdexcept>
#include <string>

#include "support/errors.hpp"
#include "test_manager.hpp"

namespace {

using test::throwsKQError;
using test::throwsNotActive;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;

class VoiceRoutingTest : public testing::Test {
 protected:
  VoiceRoutingTest() {
    routes.active = true;
    routes.currentLanguage = "English";
  }
  ~VoiceRoutingTest() override {
    aitalk->onCall = nullptr;  // the manager terminates them
    if (nuance) {
      nuance->onCall = nullptr;
    }
  }

  test::TestManager routes;
  boost::shared_ptr<test::FakeEngine> aitalk =
      routes.add("aitalk", {"Japanese"}, {{"Yuki", "Japanese"}});
  boost::shared_ptr<test::FakeEngine> nuance =
      routes.add("nuance", {"English", "French"}, {{"Anna", "English"}, {"Marie", "French"}});
};

// setCurrentVoice() ----------------------------------------------------------------------------

TEST_F(VoiceRoutingTest, AVoiceOfTheCurrentLanguageIsSetWithoutALanguageSwitch) {
  routes.setCurrentVoice("Anna");

  EXPECT_THAT(nuance->takeCalls(), ElementsAre("xGetOldLanguagesDetected", "xGetAllAvailableVoices",
                                               "xSetCurrentVoice Anna"));
  EXPECT_EQ(routes.currentLanguage, "English");
}

TEST_F(VoiceRoutingTest, AVoiceOfAnotherLanguageSwitchesTheLanguageFirst) {
  routes.setCurrentVoice("Yuki");

  EXPECT_EQ(routes.getCurrentLanguage(), "Japanese");
  EXPECT_THAT(
      aitalk->takeCalls(),
      ElementsAre("xGetOldLanguagesDetected", "xGetAvailableLanguages", "xGetOldLanguagesDetected",
                  "xGetAvailableLanguages", "xSetCurrentLanguage Japanese", "xGetCurrentLanguage",
                  "xGetAllAvailableVoices", "xSetCurrentVoice Yuki"));
  EXPECT_THAT(nuance->takeCalls(), Not(Contains("xSetCurrentVoice Yuki")));
}

TEST_F(VoiceRoutingTest, AVoiceOfAnotherLanguageOfTheSameEngineSwitchesToo) {
  routes.setCurrentVoice("Marie");
  EXPECT_EQ(nuance->getCurrentLanguage(), "French");
  EXPECT_EQ(routes.currentLanguage, "French");
}

TEST_F(VoiceRoutingTest, TheEngineIsThatOfTheLanguageAfterTheSwitch) {
  aitalk->onCall = [this](const std::string& call) {
    if (call == "xGetCurrentLanguage") {
      aitalk->currentLanguage = "Nihongo";
    }
  };
  const KQError first(test::managerModule, "xGetEngine",
                      "Nihongo is not currently supported or not installed.", nullptr, 0);

  EXPECT_THAT([&] { routes.setCurrentVoice("Yuki"); },
              throwsKQError(test::managerModule, "setCurrentVoice", first.what()));
  EXPECT_EQ(routes.currentLanguage, "Nihongo");
}

TEST_F(VoiceRoutingTest, AnInactiveManagerRefusesUnderTheLanguageGettersName) {
  routes.active = false;
  EXPECT_THAT([&] { routes.setCurrentVoice("Anna"); }, throwsNotActive("getCurrentLanguage"));
}

TEST_F(VoiceRoutingTest, TheBaseRefusesWhatNoEngineOffers) {
  EXPECT_THAT([&] { routes.setCurrentVoice("Peter"); },
              throwsKQError("TextToSpeechEngine", "setCurrentLanguage",
                            "The voice Peter is not installed or not supported."));
}

TEST_F(VoiceRoutingTest, AnUnknownVoiceChangesNothing) {
  for (const char* voice : {"Peter", "", "anna"}) {
    EXPECT_THAT([&] { routes.xSetCurrentVoice(voice); },
                throwsKQError(test::managerModule, "setCurrentVoice",
                              "Voice " + std::string(voice) + " not found"));
  }
  EXPECT_EQ(routes.currentLanguage, "English");
  EXPECT_EQ(routes.voiceLanguages.size(), 3U);
  EXPECT_THAT(aitalk->takeCalls(), IsEmpty());
  EXPECT_THAT(nuance->takeCalls(), IsEmpty());
}

TEST_F(VoiceRoutingTest, AVoiceOfAnOutdatedLanguageIsRefusedBeforeAnySwitch) {
  nuance->oldLanguages = {"Arabic", "Japanese"};

  EXPECT_THAT(
      [&] { routes.setCurrentVoice("Yuki"); },
      throwsKQError(test::managerModule, "xSetCurrentVoice",
                    "The Japanese language package installed in /home/kelo/behaviors/ is outdated."
                    "Please contact Marvane hotline to get the updated version of this package."));

  EXPECT_THAT(aitalk->takeCalls(), ElementsAre("xGetOldLanguagesDetected"));
  EXPECT_EQ(routes.currentLanguage, "English");
}

TEST_F(VoiceRoutingTest, TheCurrentLanguageMayBeOutdatedToo) {
  nuance->oldLanguages = {"English"};
  EXPECT_THAT(
      [&] { routes.setCurrentVoice("Anna"); },
      throwsKQError(test::managerModule, "xSetCurrentVoice",
                    "The English language package installed in /home/kelo/behaviors/ is outdated."
                    "Please contact Marvane hotline to get the updated version of this package."));
}

TEST_F(VoiceRoutingTest, AnErrorOfTheLanguageSwitchPassesUnchanged) {
  aitalk->onCall = [](const std::string& call) {
    if (call == "xSetCurrentLanguage Japanese") {
      throw KQError("Aitalk", "load", "no data", nullptr, 0);
    }
  };
  const KQError first("Aitalk", "load", "no data", nullptr, 0);

  EXPECT_THAT([&] { routes.setCurrentVoice("Yuki"); },
              throwsKQError(test::managerModule, "setCurrentLanguage", first.what()));
}

TEST_F(VoiceRoutingTest, ALanguageThatNoEngineServesIsRefusedByTheBase) {
  routes.voiceLanguages["Worf"] = "Klingon";
  EXPECT_THAT([&] { routes.setCurrentVoice("Worf"); },
              throwsKQError(test::managerModule, "setCurrentLanguage",
                            "This engine does not support the following language: Klingon"));
}

TEST_F(VoiceRoutingTest, AVoiceThatTheEngineRefusesIsReportedInTheManagersName) {
  nuance->allVoices.clear();
  const KQError first("TextToSpeechEngine", "setCurrentLanguage",
                      "The voice Anna is not installed or not supported.", nullptr, 0);

  EXPECT_THAT([&] { routes.setCurrentVoice("Anna"); },
              throwsKQError(test::managerModule, "setCurrentVoice", first.what()));
}

TEST_F(VoiceRoutingTest, ACurrentLanguageWithoutEngineIsReportedInTheManagersName) {
  routes.languageEngines.clear();
  const KQError first(test::managerModule, "xGetEngine",
                      "English is not currently supported or not installed.", nullptr, 0);

  EXPECT_THAT([&] { routes.setCurrentVoice("Anna"); },
              throwsKQError(test::managerModule, "setCurrentVoice", first.what()));
}

TEST_F(VoiceRoutingTest, OtherExceptionsPassUnchanged) {
  nuance->onCall = [](const std::string& call) {
    if (call == "xSetCurrentVoice Anna") {
      throw std::runtime_error("broken");
    }
  };
  EXPECT_THROW(routes.setCurrentVoice("Anna"), std::runtime_error);
}

TEST_F(VoiceRoutingTest, TheManagersLockIsHeldOnlyForTheEngineStep) {
  bool lockedBefore = true;
  bool lockedInside = false;
  nuance->onCall = [&](const std::string& call) {
    (call == "xSetCurrentVoice Anna" ? lockedInside : lockedBefore) = routes.isLocked();
    if (call == "xGetOldLanguagesDetected") {
      EXPECT_FALSE(routes.isLocked());
    }
  };

  routes.setCurrentVoice("Anna");
  EXPECT_TRUE(lockedInside);
  EXPECT_FALSE(routes.isLocked());

  nuance->onCall = [](const std::string&) { throw 17; };
  EXPECT_THROW(routes.setCurrentVoice("Anna"), int);
  nuance->onCall = nullptr;
  nuance->allVoices.clear();
  EXPECT_ANY_THROW(routes.setCurrentVoice("Anna"));
  EXPECT_FALSE(routes.isLocked());
}

// An engine's destructor may wait for a thread of the engine that is calling the manager.
TEST_F(VoiceRoutingTest, AnEngineDroppedDuringTheVoiceStepIsDestroyedAfterTheUnlock) {
  bool destroyed = false;
  bool lockedAtTheEnd = true;
  test::FakeEngine* const target = nuance.get();
  target->onDestruction = [&] {
    destroyed = true;
    lockedAtTheEnd = routes.isLocked();
  };
  target->onCall = [&](const std::string& call) {
    if (call == "xSetCurrentVoice Anna") {
      routes.engines.clear();
    }
  };
  nuance.reset();

  routes.setCurrentVoice("Anna");

  EXPECT_TRUE(destroyed);
  EXPECT_FALSE(lockedAtTheEnd);
}

// Queries --------------------------------------------------------------------------------------

TEST_F(VoiceRoutingTest, TheVoiceMapsAreCopiesOfTheTables) {
  routes.availableVoices = {{"b", "2"}, {"a", "1"}};
  EXPECT_THAT(routes.getAvailableVoices(), ElementsAre(Pair("a", "1"), Pair("b", "2")));
  EXPECT_THAT(
      routes.getAllAvailableVoices(),
      ElementsAre(Pair("Anna", "English"), Pair("Marie", "French"), Pair("Yuki", "Japanese")));
  EXPECT_THAT(aitalk->takeCalls(), IsEmpty());
  EXPECT_THAT(nuance->takeCalls(), IsEmpty());
}

TEST_F(VoiceRoutingTest, TheCurrentVoiceIsThatOfTheCurrentLanguagesEngine) {
  nuance->currentVoice = "Marie";
  EXPECT_EQ(routes.getCurrentVoice(), "Marie");
  EXPECT_THAT(nuance->takeCalls(), ElementsAre("xGetCurrentVoice"));
}

TEST_F(VoiceRoutingTest, TheDefaultVoiceIsThatOfTheLanguagesEngine) {
  aitalk->defaultVoice = "Yuki";
  EXPECT_EQ(routes.getDefaultVoiceForLanguage("Japanese"), "Yuki");
  EXPECT_THAT(aitalk->takeCalls(), ElementsAre("xGetDefaultVoiceForLanguage Japanese"));
}

TEST_F(VoiceRoutingTest, ALanguageWithoutEngineHasNoDefaultVoice) {
  EXPECT_THAT([&] { routes.getDefaultVoiceForLanguage("Klingon"); },
              throwsKQError(test::managerModule, "xGetDefaultVoiceForLanguage",
                            "No engine found for Klingon language"));
}

TEST_F(VoiceRoutingTest, TheFolderIsThatOfTheVoicesEngineWhateverTheCurrentLanguage) {
  aitalk->voiceFolder = "/voices/Yuki";
  EXPECT_EQ(routes.getVoiceInstallDir("Yuki"), "/voices/Yuki");
  EXPECT_THAT(aitalk->takeCalls(), ElementsAre("xGetVoiceInstallDir Yuki"));
  EXPECT_THAT(nuance->takeCalls(), IsEmpty());
}

TEST_F(VoiceRoutingTest, AnUnknownVoiceHasNoFolderAndNoError) {
  EXPECT_EQ(routes.getVoiceInstallDir("Peter"), "");
  EXPECT_EQ(routes.getVoiceInstallDir(""), "");
  EXPECT_THAT(nuance->takeCalls(), IsEmpty());
}

TEST_F(VoiceRoutingTest, AVoiceWhoseLanguageHasNoEngineIsAnError) {
  routes.xUnloadPlugin("aitalk");
  EXPECT_THAT([&] { routes.getVoiceInstallDir("Yuki"); },
              throwsKQError(test::managerModule, "xGetEngine",
                            "Japanese is not currently supported or not installed."));
}

TEST_F(VoiceRoutingTest, TheDefaultVoiceIsSetOnTheCurrentLanguagesEngine) {
  routes.setDefaultVoice();
  EXPECT_THAT(nuance->takeCalls(), ElementsAre("xSetDefaultVoice"));
}

TEST_F(VoiceRoutingTest, WithoutEngineTheVoiceQueriesNameTheLanguage) {
  routes.currentLanguage = "Klingon";
  const auto error = throwsKQError(test::managerModule, "xGetEngine",
                                   "Klingon is not currently supported or not installed.");
  EXPECT_THAT([&] { routes.getCurrentVoice(); }, error);
  EXPECT_THAT([&] { routes.setDefaultVoice(); }, error);
}

TEST_F(VoiceRoutingTest, AnInactiveManagerAnswersNoVoiceQueries) {
  routes.active = false;
  EXPECT_THAT([&] { routes.getCurrentVoice(); }, throwsNotActive("getCurrentVoice"));
  EXPECT_THAT([&] { routes.getDefaultVoiceForLanguage("French"); },
              throwsNotActive("getDefaultVoiceForLanguage"));
  EXPECT_THAT([&] { routes.getVoiceInstallDir("Anna"); }, throwsNotActive("getVoiceInstallDir"));
  EXPECT_THAT([&] { routes.getAvailableVoices(); }, throwsNotActive("getAvailableVoices"));
  EXPECT_THAT([&] { routes.getAllAvailableVoices(); }, throwsNotActive("getAllAvailableVoices"));
}

TEST_F(VoiceRoutingTest, OnlyTheHidingOperationSetsTheDefaultVoiceOfAnInactiveManager) {
  routes.active = false;
  routes.setDefaultVoice();
  EXPECT_THAT(nuance->takeCalls(), ElementsAre("xSetDefaultVoice"));
  KQ::TextToSpeechEngine& base = routes;
  EXPECT_THAT([&] { base.setDefaultVoice(); }, throwsNotActive("AddToDictionary"));
}

}  // namespace
