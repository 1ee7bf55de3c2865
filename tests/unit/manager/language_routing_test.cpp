#include <gmock/gmock.h>

#include <kq/error.hpp>
#include <stdexcept>
#include <string>

#include "support/errors.hpp"
#include "test_manager.hpp"

namespace {

using test::throwsKQError;
using test::throwsNotActive;
using testing::ElementsAre;
using testing::IsEmpty;

class LanguageRoutingTest : public testing::Test {
 protected:
  LanguageRoutingTest() {
    routes.active = true;
    routes.currentLanguage = "English";
  }
  ~LanguageRoutingTest() override {
    if (aitalk) {
      aitalk->onCall = nullptr;  // the manager terminates them
    }
    nuance->onCall = nullptr;
  }

  test::TestManager routes;
  boost::shared_ptr<test::FakeEngine> aitalk =
      routes.add("aitalk", {"Japanese", "English"}, {{"Yuki", "Japanese"}, {"Anna", "English"}});
  boost::shared_ptr<test::FakeEngine> nuance =
      routes.add("nuance", {"English", "French"}, {{"Anna", "English"}, {"Marie", "French"}});
};

// xGetEngine(), xGetRelevantEngine() -----------------------------------------------------------

TEST_F(LanguageRoutingTest, ALanguageHasItsEngine) {
  EXPECT_EQ(routes.xGetEngine("Japanese"), aitalk);
  EXPECT_EQ(routes.xGetEngine("English"), nuance);
  EXPECT_EQ(routes.xGetRelevantEngine("Japanese"), aitalk);
  EXPECT_EQ(routes.xGetRelevantEngine("English"), nuance);
}

TEST_F(LanguageRoutingTest, TheEngineIsACopyOfTheRegistrysPointer) {
  const long before = aitalk.use_count();
  const auto engine = routes.xGetEngine("Japanese");
  EXPECT_EQ(aitalk.use_count(), before + 1);
}

TEST_F(LanguageRoutingTest, RoutingNeedsNoActiveManager) {
  routes.active = false;
  EXPECT_EQ(routes.xGetEngine("Japanese"), aitalk);
}

TEST_F(LanguageRoutingTest, WithoutArgumentTheCurrentLanguageDecides) {
  EXPECT_EQ(routes.xGetRelevantEngine(), nuance);
  routes.currentLanguage = "Japanese";
  EXPECT_EQ(routes.xGetRelevantEngine(), aitalk);
}

class UnservedLanguage : public LanguageRoutingTest,
                         public testing::WithParamInterface<std::string> {};

TEST_P(UnservedLanguage, HasNoEngine) {
  const std::string language = GetParam();
  EXPECT_THAT([&] { routes.xGetEngine(language); },
              throwsKQError(test::managerModule, "xGetEngine",
                            language + " is not currently supported or not installed."));
  EXPECT_THAT([&] { routes.xGetRelevantEngine(language); },
              throwsKQError(test::managerModule, "xGetDefaultVoiceForLanguage",
                            "No engine found for " + language + " language"));
  routes.currentLanguage = language;
  EXPECT_THAT([&] { routes.xGetRelevantEngine(); },
              throwsKQError(test::managerModule, "xGetEngine",
                            language + " is not currently supported or not installed."));
}

INSTANTIATE_TEST_SUITE_P(Languages, UnservedLanguage,
                         testing::Values("Klingon", "", "english", "English ", "aitalk",
                                         std::string("English\0", 8)));

TEST_F(LanguageRoutingTest, ALanguageWhoseEngineWasUnloadedHasNoEngine) {
  routes.xUnloadPlugin("aitalk");
  EXPECT_THAT([&] { routes.xGetEngine("Japanese"); },
              throwsKQError(test::managerModule, "xGetEngine",
                            "Japanese is not currently supported or not installed."));
  EXPECT_THAT([&] { routes.xGetRelevantEngine("Japanese"); },
              throwsKQError(test::managerModule, "xGetDefaultVoiceForLanguage",
                            "No engine found for Japanese language"));
}

TEST_F(LanguageRoutingTest, FailedLookUpsInsertNothing) {
  EXPECT_ANY_THROW(routes.xGetEngine("Klingon"));
  EXPECT_ANY_THROW(routes.xGetRelevantEngine("Klingon"));
  EXPECT_EQ(routes.languageEngines.size(), 3U);
  EXPECT_EQ(routes.engines.size(), 2U);
}

// setCurrentLanguage() -------------------------------------------------------------------------

TEST_F(LanguageRoutingTest, SettingALanguageCallsItsEngineAndKeepsWhatTheEngineReports) {
  aitalk->onCall = [this](const std::string& call) {
    if (call == "xGetCurrentLanguage") {
      aitalk->currentLanguage = "Japanese";
    }
  };

  routes.setCurrentLanguage("Japanese");

  EXPECT_EQ(routes.getCurrentLanguage(), "Japanese");
  EXPECT_THAT(
      aitalk->takeCalls(),
      ElementsAre("xGetAvailableLanguages", "xGetOldLanguagesDetected", "xGetAvailableLanguages",
                  "xSetCurrentLanguage Japanese", "xGetCurrentLanguage"));
  EXPECT_THAT(nuance->takeCalls(),
              ElementsAre("xGetAvailableLanguages", "xGetOldLanguagesDetected"));
}

TEST_F(LanguageRoutingTest, TheManagerKeepsTheNameAsTheEngineSpellsIt) {
  nuance->onCall = [this](const std::string& call) {
    if (call == "xGetCurrentLanguage") {
      nuance->currentLanguage = "Francais";
    }
  };
  routes.setCurrentLanguage("French");
  EXPECT_EQ(routes.getCurrentLanguage(), "Francais");
}

TEST_F(LanguageRoutingTest, AnInactiveManagerRefuses) {
  routes.active = false;
  EXPECT_THAT([&] { routes.setCurrentLanguage("French"); }, throwsNotActive("setCurrentLanguage"));
  EXPECT_THAT([&] { routes.getCurrentLanguage(); }, throwsNotActive("getCurrentLanguage"));
}

TEST_F(LanguageRoutingTest, TheBaseRefusesWhatNoEngineOffers) {
  EXPECT_THAT([&] { routes.setCurrentLanguage("Klingon"); },
              throwsKQError(test::managerModule, "setCurrentLanguage",
                            "This engine does not support the following language: Klingon"));
}

/// The base would refuse this language, so the test calls the hook to see the hook's own error.
TEST_F(LanguageRoutingTest, AnUnservedLanguageIsReportedWithTheTextOfTheFirstError) {
  nuance->currentLanguage = "French";
  const KQError first(test::managerModule, "xGetEngine",
                      "Klingon is not currently supported or not installed.", nullptr, 0);

  EXPECT_THAT([&] { routes.xSetCurrentLanguage("Klingon"); },
              throwsKQError(test::managerModule, "setCurrentLanguage", first.what()));
  EXPECT_EQ(routes.currentLanguage, "French");  // read again from the engine of "English"
}

TEST_F(LanguageRoutingTest, ALanguageThatOnlyAnUnloadedEngineServedIsRefused) {
  routes.xUnloadPlugin("aitalk");
  const KQError first(test::managerModule, "xGetEngine",
                      "Japanese is not currently supported or not installed.", nullptr, 0);
  EXPECT_THAT([&] { routes.xSetCurrentLanguage("Japanese"); },
              throwsKQError(test::managerModule, "setCurrentLanguage", first.what()));
}

TEST_F(LanguageRoutingTest, AnOutdatedLanguageIsRefusedBeforeAnyEngineIsCalled) {
  nuance->oldLanguages = {"Arabic", "Japanese"};
  nuance->currentLanguage = "French";
  const KQError first(
      test::managerModule, "xSetCurrentLanguage",
      "The Japanese language package installed in /home/kelo/behaviors/ is outdated."
      "Please contact Marvane hotline to get the updated version of this package.",
      nullptr, 0);

  EXPECT_THAT([&] { routes.xSetCurrentLanguage("Japanese"); },
              throwsKQError(test::managerModule, "setCurrentLanguage", first.what()));

  EXPECT_THAT(aitalk->takeCalls(), ElementsAre("xGetOldLanguagesDetected"));
  EXPECT_THAT(nuance->takeCalls(), ElementsAre("xGetOldLanguagesDetected", "xGetCurrentLanguage"));
  EXPECT_EQ(routes.currentLanguage, "French");
}

TEST_F(LanguageRoutingTest, AnErrorOfTheEngineIsReportedInTheManagersName) {
  aitalk->onCall = [](const std::string& call) {
    if (call == "xSetCurrentLanguage Japanese") {
      throw KQError("Aitalk", "load", "no data", "aitalk.cpp", 12);
    }
  };
  const KQError first("Aitalk", "load", "no data", "aitalk.cpp", 12);

  EXPECT_THAT([&] { routes.setCurrentLanguage("Japanese"); },
              throwsKQError(test::managerModule, "setCurrentLanguage", first.what()));
  EXPECT_EQ(routes.currentLanguage, "English");
}

TEST_F(LanguageRoutingTest, WithoutACurrentLanguageTheFirstErrorIsLost) {
  routes.currentLanguage = "";
  EXPECT_THAT([&] { routes.xSetCurrentLanguage("Klingon"); },
              throwsKQError(test::managerModule, "xGetEngine",
                            " is not currently supported or not installed."));
  EXPECT_EQ(routes.currentLanguage, "");
}

TEST_F(LanguageRoutingTest, AnErrorOfTheResynchronisationReplacesTheFirst) {
  nuance->onCall = [](const std::string& call) {
    if (call == "xGetCurrentLanguage") {
      throw KQError("Nuance", "ask", "broken", nullptr, 0);
    }
  };
  EXPECT_THAT([&] { routes.xSetCurrentLanguage("Klingon"); },
              throwsKQError("Nuance", "ask", "broken"));
}

TEST_F(LanguageRoutingTest, OtherExceptionsPassUnchangedAndWithoutResynchronisation) {
  aitalk->onCall = [](const std::string& call) {
    if (call == "xSetCurrentLanguage Japanese") {
      throw std::runtime_error("broken");
    }
  };
  nuance->currentLanguage = "French";

  EXPECT_THROW(routes.xSetCurrentLanguage("Japanese"), std::runtime_error);

  EXPECT_EQ(routes.currentLanguage, "English");
}

TEST_F(LanguageRoutingTest, TheManagersLockIsHeldAndAlwaysReleased) {
  int unlocked = 0;
  const auto look = [&](const std::string&) { unlocked += routes.isLocked() ? 0 : 1; };
  aitalk->onCall = look;
  nuance->onCall = look;

  routes.xSetCurrentLanguage("Japanese");
  EXPECT_FALSE(routes.isLocked());
  EXPECT_ANY_THROW(routes.xSetCurrentLanguage("Klingon"));
  EXPECT_FALSE(routes.isLocked());
  EXPECT_EQ(unlocked, 0);

  aitalk->onCall = [](const std::string&) { throw 17; };
  EXPECT_THROW(routes.xSetCurrentLanguage("Japanese"), int);
  EXPECT_FALSE(routes.isLocked());
}

class EngineDroppedDuring : public LanguageRoutingTest,
                            public testing::WithParamInterface<const char*> {};

// An engine's destructor may wait for a thread of the engine that is calling the manager.
TEST_P(EngineDroppedDuring, TheLanguageSwitchIsDestroyedAfterTheUnlock) {
  bool destroyed = false;
  bool lockedAtTheEnd = true;
  test::FakeEngine* const target = aitalk.get();
  target->onDestruction = [&] {
    destroyed = true;
    lockedAtTheEnd = routes.isLocked();
  };
  target->onCall = [&](const std::string& call) {
    if (call == GetParam()) {
      routes.engines.clear();
    }
  };
  aitalk.reset();

  try {
    routes.setCurrentLanguage("Japanese");
  } catch (const KQError&) {
    // The engine may be gone before it is called.
  }

  EXPECT_TRUE(destroyed);
  EXPECT_FALSE(lockedAtTheEnd);
}

INSTANTIATE_TEST_SUITE_P(Hooks, EngineDroppedDuring,
                         testing::Values("xGetOldLanguagesDetected", "xSetCurrentLanguage Japanese",
                                         "xGetCurrentLanguage"));

// Merged answers -------------------------------------------------------------------------------

TEST_F(LanguageRoutingTest, TheCurrentLanguageNeedsNoEngine) {
  EXPECT_EQ(routes.getCurrentLanguage(), "English");
  EXPECT_THAT(aitalk->takeCalls(), IsEmpty());
  EXPECT_THAT(nuance->takeCalls(), IsEmpty());
}

TEST_F(LanguageRoutingTest, LanguagesAreConcatenatedInTheOrderOfThePlugins) {
  routes.add("log", {"Zulu", "English"}, {});
  EXPECT_THAT(routes.getAvailableLanguages(),
              ElementsAre("Japanese", "English", "Zulu", "English", "English", "French"));
}

TEST_F(LanguageRoutingTest, OutdatedLanguagesAreConcatenatedInTheOrderOfThePlugins) {
  aitalk->oldLanguages = {"Korean", "Arabic"};
  nuance->oldLanguages = {"Arabic", "Korean", "Arabic"};
  routes.active = false;  // needs no active manager
  EXPECT_THAT(routes.getOldLanguagesDetected(),
              ElementsAre("Korean", "Arabic", "Arabic", "Korean", "Arabic"));
}

TEST_F(LanguageRoutingTest, WithoutEnginesTheListsAreEmpty) {
  routes.engines.clear();
  EXPECT_THAT(routes.getAvailableLanguages(), IsEmpty());
  EXPECT_THAT(routes.getOldLanguagesDetected(), IsEmpty());
}

TEST_F(LanguageRoutingTest, AnEngineThatIsNotActivePassesItsError) {
  aitalk->setFlags(false, false);
  EXPECT_THAT([&] { routes.getAvailableLanguages(); }, throwsNotActive("getAvailableLanguages"));
}

TEST_F(LanguageRoutingTest, AVoiceHasItsLanguage) {
  routes.active = false;  // needs no active manager
  EXPECT_EQ(routes.getLanguage("Yuki"), "Japanese");
  EXPECT_EQ(routes.getLanguage("Marie"), "French");
}

TEST_F(LanguageRoutingTest, AnUnknownVoiceHasNoLanguage) {
  for (const char* voice : {"Peter", "", "anna", "English"}) {
    EXPECT_THAT(
        [&] { routes.getLanguage(voice); },
        throwsKQError(test::managerModule, "getLanguage",
                      std::string(voice) + " is not currently supported or not installed."));
  }
  EXPECT_EQ(routes.voiceLanguages.size(), 3U);
}

}  // namespace
