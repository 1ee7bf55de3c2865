#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "support/errors.hpp"
#include "support/fake_engine.hpp"
#include "support/log_recorder.hpp"

namespace {

using test::FakeEngine;
using test::MinimalEngine;
using test::throwsKQError;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

template <typename Engine>
class Active : public Engine {
 public:
  Active() {
    this->initialize({});
    this->takeCalls();
  }
};

void expectLanguageRefused(FakeEngine& engine, const std::string& language) {
  engine.takeCalls();
  EXPECT_THAT([&] { engine.setCurrentLanguage(language); },
              throwsKQError(engine.name, "setCurrentLanguage",
                            "This engine does not support the following language: " + language));
  EXPECT_EQ(engine.getCurrentLanguage(), "English");
}

TEST(SetCurrentLanguageTest, CallsTheHookThenLogs) {
  Active<FakeEngine> engine;
  const test::LogRecorder log;
  engine.onCall = [&](const std::string&) { EXPECT_THAT(log.lines(), IsEmpty()); };

  engine.setCurrentLanguage("French");

  EXPECT_THAT(engine.takeCalls(),
              ElementsAre("xGetAvailableLanguages", "xSetCurrentLanguage French"));
  EXPECT_THAT(log.lines(),
              ElementsAre(test::LogLine{
                  zu::log::Level::verbose, "texttospeechengine", "Language French set\n",
                  "perception/audio/libkqtts/src/texttospeech_engine", "setCurrentLanguage", 226}));
}

TEST(SetCurrentLanguageTest, ALanguageListedTwiceIsSetOnce) {
  Active<FakeEngine> engine;
  engine.languages = {"French", "French"};

  engine.setCurrentLanguage("French");

  EXPECT_THAT(engine.takeCalls(),
              ElementsAre("xGetAvailableLanguages", "xSetCurrentLanguage French"));
}

TEST(SetCurrentLanguageTest, AnUnknownLanguageIsRefusedInTheEnginesNameAndNotLogged) {
  Active<FakeEngine> engine;
  engine.name = "Some plug-in";
  const test::LogRecorder log;

  expectLanguageRefused(engine, "Klingon");

  EXPECT_THAT(engine.takeCalls(),
              ElementsAre("xGetAvailableLanguages", "xGetName", "xGetCurrentLanguage"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(SetCurrentLanguageTest, AnEngineWithoutLanguagesRefusesAll) {
  Active<FakeEngine> engine;
  engine.languages.clear();
  expectLanguageRefused(engine, "English");
  expectLanguageRefused(engine, "");
}

class AlmostALanguage : public testing::TestWithParam<std::string> {};

TEST_P(AlmostALanguage, IsRefused) {
  Active<FakeEngine> engine;
  expectLanguageRefused(engine, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Names, AlmostALanguage,
                         testing::Values("english", "ENGLISH", "Englis", "Englishh", " English",
                                         "English ", "", std::string("English\0", 8)));

TEST(SetCurrentLanguageTest, AHookThatThrowsIsNotLoggedAsSet) {
  Active<FakeEngine> engine;
  engine.onCall = [](const std::string& call) {
    if (call == "xSetCurrentLanguage French") {
      throw KQError("Fake", "load", "no data", nullptr, 0);
    }
  };
  const test::LogRecorder log;

  EXPECT_THAT([&] { engine.setCurrentLanguage("French"); },
              throwsKQError("Fake", "load", "no data"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(SetCurrentVoiceTest, CallsTheHookAndLogsNothing) {
  Active<FakeEngine> engine;
  const test::LogRecorder log;

  engine.setCurrentVoice("Anna");

  EXPECT_THAT(engine.takeCalls(), ElementsAre("xGetAllAvailableVoices", "xSetCurrentVoice Anna"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(SetCurrentVoiceTest, AVoiceOfAnotherLanguageIsAccepted) {
  Active<FakeEngine> engine;
  engine.voices = {{"Anna", "English"}};
  engine.allVoices = {{"Anna", "English"}, {"Marie", "French"}};

  engine.setCurrentVoice("Marie");

  EXPECT_THAT(engine.takeCalls(), ElementsAre("xGetAllAvailableVoices", "xSetCurrentVoice Marie"));
}

class NotAVoice : public testing::TestWithParam<std::string> {};

TEST_P(NotAVoice, IsRefusedUnderTheLanguageOperationsName) {
  Active<FakeEngine> engine;

  EXPECT_THAT([&] { engine.setCurrentVoice(GetParam()); },
              throwsKQError("TextToSpeechEngine", "setCurrentLanguage",
                            "The voice " + GetParam() + " is not installed or not supported."));
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xGetAllAvailableVoices"));
}

INSTANTIATE_TEST_SUITE_P(Names, NotAVoice,
                         testing::Values("Peter", "anna", "", "English", "French",
                                         std::string("Anna\0", 5)));

TEST(VoiceQueriesTest, AnswersOfTheEnginePassUnchanged) {
  Active<FakeEngine> engine;
  engine.languages = {"French", "", "English", "French"};
  engine.oldLanguages = {"Klingon", "Arabic"};
  engine.voices = {{"b", "2"}, {"a", "1"}};
  engine.currentVoice = "Peter";
  engine.defaultVoice = "Paul";
  engine.voiceFolder = "/x y/";

  EXPECT_THAT(engine.getAvailableLanguages(), ElementsAre("French", "", "English", "French"));
  EXPECT_THAT(engine.getOldLanguagesDetected(), ElementsAre("Klingon", "Arabic"));
  EXPECT_THAT(engine.getAvailableVoices(), ElementsAre(Pair("a", "1"), Pair("b", "2")));
  EXPECT_THAT(engine.getAllAvailableVoices(),
              ElementsAre(Pair("Anna", "English"), Pair("Marie", "French")));
  EXPECT_EQ(engine.getCurrentLanguage(), "English");
  EXPECT_EQ(engine.getCurrentVoice(), "Peter");
  EXPECT_EQ(engine.getDefaultVoiceForLanguage("any"), "Paul");
  EXPECT_EQ(engine.getVoiceInstallDir("any"), "/x y/");
}

TEST(VoiceQueriesTest, AMinimalEngineAnswersWithDefaults) {
  Active<MinimalEngine> engine;

  EXPECT_EQ(engine.getCurrentVoice(), "default");
  EXPECT_EQ(engine.getDefaultVoiceForLanguage("English"), "default");
  EXPECT_EQ(engine.getDefaultVoiceForLanguage("Klingon"), "default");
  EXPECT_EQ(engine.getVoiceInstallDir("Anna"), "");
  EXPECT_THAT(engine.getAllAvailableVoices(), ElementsAre(Pair("Anna", "English")));
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xGetAvailableVoices"));
}

}  // namespace
