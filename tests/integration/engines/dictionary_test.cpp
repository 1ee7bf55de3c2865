#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>
#include <cstdlib>

#include "engines/speaking_engine.hpp"
#include "support/errors.hpp"
#include "support/log_recorder.hpp"
#include "support/repeat.hpp"
#include "support/storm.hpp"
#include "support/temp_folder.hpp"

namespace {

using test::FreshEngine;
using ::testing::ElementsAre;

/// The test has its own folder of the user's dictionaries.
class UsersDictionary : public ::testing::Test {
 protected:
  UsersDictionary() { ::setenv("XDG_DATA_HOME", data.path().c_str(), 1); }
  ~UsersDictionary() override { ::unsetenv("XDG_DATA_HOME"); }

  static bool add(FreshEngine& speaking, const std::string& word, const std::string& replacement) {
    return speaking->addToDictionary(word, replacement, "", "", "");
  }

  /// Whether the engine speaks "machine" for "robot".
  static test::Samples spokenWithEntry(const std::string& text) {
    return test::spoken(text, [](KQ::TextToSpeechEngine& engine) {
      engine.addToDictionary("robot", "machine", "", "", "");
    });
  }

  /// Whether "robot" is replaced by another word.
  static bool replacesRobot(FreshEngine& speaking) {
    const std::size_t before = speaking.host.samples().size();
    speaking->startSynthetizer("robot");
    return speaking.host.samples().size() - before > 2 * test::spoken("robot").size();
  }

  static constexpr const char* longReplacement = "a machine that works like a human being";

  test::TempFolder data;
};

TEST_F(UsersDictionary, SpeaksTheReplacement) {
  EXPECT_EQ(spokenWithEntry("The robot speaks"), test::spoken("The machine speaks"));
}

TEST_F(UsersDictionary, WithoutItsWordsChangesNothing) {
  EXPECT_EQ(spokenWithEntry("Nothing of that"), test::spoken("Nothing of that"));
}

TEST_F(UsersDictionary, ReportsTheWordsOfTheHostsText) {
  const std::string text = "One robot, \\Pau=10\\ two robots and a Robot";
  FreshEngine speaking;
  add(speaking, "robot", longReplacement);
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text),
              ElementsAre("One", "robot", "two", "robots", "and", "a", "Robot"));
}

TEST_F(UsersDictionary, LeavesWordsOfALongTextWhole) {
  // Half a kilobyte ends between "plan" and "/t".
  const std::string text = "Hello " + test::repeat("plan/t, ", 600);
  EXPECT_EQ(spokenWithEntry(text), test::spoken(text));
  FreshEngine speaking;
  speaking->startSynthetizer(text);
  const std::vector<std::string> expected = speaking.host.words(text);
  add(speaking, "robot", "machine");
  speaking->startSynthetizer(text);
  std::vector<std::string> words = speaking.host.words(text);
  words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(expected.size()));
  EXPECT_EQ(words, expected);
}

TEST_F(UsersDictionary, KeepsThePlacesOfMarks) {
  FreshEngine speaking;
  add(speaking, "robot", longReplacement);
  speaking->startSynthetizer("\\mrk=1\\ robot \\mrk=2\\ robot");
  const auto marks = speaking.host.events(test::SpeechEvent::Kind::mark);
  ASSERT_EQ(marks.size(), 2U);
  EXPECT_EQ(marks[1].number, 2);
  EXPECT_NEAR(static_cast<double>(marks[1].word.samplePosition),
              test::length(speaking.host.samples()) / 2,
              test::length(speaking.host.samples()) * 0.2);
}

TEST_F(UsersDictionary, SurvivesARestart) {
  {
    FreshEngine speaking;
    add(speaking, "robot", longReplacement);
  }
  FreshEngine speaking;
  EXPECT_FALSE(replacesRobot(speaking));
  speaking->loadDictionary();
  EXPECT_TRUE(replacesRobot(speaking));
}

TEST_F(UsersDictionary, CanBeUnloaded) {
  FreshEngine speaking;
  add(speaking, "robot", longReplacement);
  speaking->unloadDictionary();
  EXPECT_FALSE(replacesRobot(speaking));
}

TEST_F(UsersDictionary, IsUnloadedWithTheEngine) {
  FreshEngine speaking;
  add(speaking, "robot", longReplacement);
  speaking->terminate();
  speaking->initialize(test::engineUnderTest().packages);
  EXPECT_FALSE(replacesRobot(speaking));
}

TEST_F(UsersDictionary, LosesWhatIsDeleted) {
  FreshEngine speaking;
  add(speaking, "robot", longReplacement);
  EXPECT_TRUE(speaking->deleteFromDictionary("robot", ""));
  EXPECT_FALSE(replacesRobot(speaking));
  EXPECT_FALSE(speaking->deleteFromDictionary("robot", ""));
}

TEST_F(UsersDictionary, KnowsExactSpellings) {
  FreshEngine speaking;
  EXPECT_TRUE(speaking->addToDictionary("Robot", longReplacement, "English", "exact", ""));
  EXPECT_FALSE(replacesRobot(speaking));
}

TEST_F(UsersDictionary, ReportsWhetherAnEntryIsNew) {
  FreshEngine speaking;
  EXPECT_TRUE(add(speaking, "robot", "machine"));
  EXPECT_FALSE(add(speaking, "robot", "machine"));
  EXPECT_TRUE(add(speaking, "robot", "servant"));
}

TEST_F(UsersDictionary, ShowsItsEntriesInTheLog) {
  FreshEngine speaking;
  add(speaking, "robot", "machine");
  speaking->addToDictionary("KQ", "kay queue", "", "exact", "");
  const test::LogRecorder log;
  speaking->showDictionary();
  EXPECT_THAT(log.messages(),
              ElementsAre((data.path() / "kqtts/dictionaries/English.txt: 2 entries").string(),
                          "\"KQ\" is spoken as \"kay queue\", in this spelling only",
                          "\"robot\" is spoken as \"machine\""));
}

TEST_F(UsersDictionary, RefusesHostileEntriesUnderTheEnginesName) {
  FreshEngine speaking;
  EXPECT_THAT([&] { add(speaking, "robot", "\\Pau=600000\\"); },
              test::throwsKQError(test::engineUnderTest().name, "addToDictionary",
                                  "the replacement holds markup: a backslash or an angle bracket"));
  EXPECT_FALSE(boost::filesystem::exists(data.path() / "kqtts/dictionaries/English.txt"));
}

TEST_F(UsersDictionary, RefusesLanguagesThatAreNotOffered) {
  FreshEngine speaking;
  const char* const complaint = "the engine does not offer the language \"../..\"";
  EXPECT_THAT([&] { speaking->addToDictionary("robot", "machine", "../..", "", ""); },
              test::throwsKQError(test::engineUnderTest().name, "addToDictionary", complaint));
  EXPECT_THAT([&] { speaking->deleteFromDictionary("robot", "../.."); },
              test::throwsKQError(test::engineUnderTest().name, "deleteFromDictionary", complaint));
}

TEST_F(UsersDictionary, RefusesArgumentsWithoutMeaning) {
  FreshEngine speaking;
  EXPECT_THAT([&] { speaking->addToDictionary("robot", "machine", "", "upper", ""); },
              test::throwsKQError(test::engineUnderTest().name, "addToDictionary",
                                  "the fourth argument must be \"any\", \"exact\" or \"\""));
  EXPECT_THAT([&] { speaking->addToDictionary("robot", "machine", "", "", "x"); },
              test::throwsKQError(test::engineUnderTest().name, "addToDictionary",
                                  "the fifth argument must be \"\""));
}

TEST_F(UsersDictionary, ThatCannotBeReadIsAnErrorAndTheLoadedOneStays) {
  FreshEngine speaking;
  add(speaking, "robot", longReplacement);
  const auto file = data.write("kqtts/dictionaries/English.txt", "no entry\n");
  const std::string complaint =
      file.string() + ": line 1: is no word, replacement and \"any\" or \"exact\"";
  EXPECT_THAT([&] { speaking->loadDictionary(); },
              test::throwsKQError(test::engineUnderTest().name, "loadDictionary", complaint));
  EXPECT_THAT([&] { speaking->showDictionary(); },
              test::throwsKQError(test::engineUnderTest().name, "showDictionary", complaint));
  EXPECT_TRUE(replacesRobot(speaking));
}

TEST_F(UsersDictionary, AndEffectsMayBeUsedWhileOthersSpeak) {
  FreshEngine speaking;
  const auto effect = data.write(
      "robot.xml",
      "<a><b name=\"doubleVoice\" value=\"1.5\"/><b name=\"doubleVoiceLevel\" value=\"1\"/></a>");
  speaking->loadEffect(effect);
  ::testing::internal::CaptureStdout();
  test::storm(10, {[&] { speaking->startSynthetizer("robot"); },
                   [&] { speaking->startSynthetizer("Robot \\mrk=1\\ two"); },
                   [&] {
                     add(speaking, "robot", "machine");
                     speaking->deleteFromDictionary("robot", "");
                   },
                   [&] { add(speaking, "two", "three"); },
                   [&] {
                     speaking->loadDictionary();
                     speaking->unloadDictionary();
                   },
                   [&] {
                     speaking->loadEffect(effect);
                     speaking->applyEffect("robot", true);
                     speaking->applyEffect("robot", false);
                   },
                   [&] {
                     speaking->enableFilter(true);
                     speaking->enableFilter(false);
                   },
                   [&] { speaking->stopSynthetizer(); }});
  ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(speaking.host.ends().size(), 20U);
  EXPECT_EQ(speaking.host.events(test::SpeechEvent::Kind::start).size(), 20U);
}

}  // namespace
