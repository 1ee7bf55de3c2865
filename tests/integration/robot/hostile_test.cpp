#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "robot/robot.hpp"
#include "support/environment.hpp"
#include "support/errors.hpp"
#include "support/row_name.hpp"

namespace {

using ::testing::ElementsAre;

TEST(Robot, SpeaksEnglishWithoutTheDataOfEspeak) {
  const test::TempFolder empty;
  const test::Environment data("ESPEAK_DATA_PATH", empty.path().string());
  test::SpeechRecorder host;
  test::RobotManager manager(&host);
  ASSERT_TRUE(manager.initialize(test::builtPackages()));
  EXPECT_THAT(manager.getAvailableLanguages(), ElementsAre("English"));
  manager.startSynthetizer("Hello");
  EXPECT_GT(test::level(host.samples()), 500);
}

TEST(Robot, RefusesOtherLanguagesWithoutTheDataOfEspeak) {
  const test::TempFolder empty;
  const test::Environment data("ESPEAK_DATA_PATH", empty.path().string());
  test::RobotManager manager(nullptr);
  ASSERT_TRUE(manager.initialize(test::builtPackages()));
  EXPECT_THAT([&] { manager.setCurrentLanguage("French"); },
              test::throwsKQError("TextToSpeechManager", "setCurrentLanguage",
                                  "This engine does not support the following language: French"));
  EXPECT_EQ(manager.getCurrentLanguage(), "English");
}

struct HostileRow {
  const char* name;
  std::string text;
};

const HostileRow hostileRows[] = {
    {"Nothing", ""},
    {"Nul", std::string("one\0two", 7)},
    {"ControlCharacters", "\x01\x02 50S hello \x1B[0m\x7F"},
    {"InvalidUtf8", "caf\xE9 \xFF\xFE \xC0\x80 \xED\xA0\x80 end"},
    {"RightToLeft", "שלום \xE2\x80\xAE abc \xE2\x80\xAC مرحبا"},
    {"Emoji", "😀👩‍👩‍👧‍👦🏳️‍🌈 ok"},
    {"UnclosedTag", "one \\mrk=1 two \\Pau= \\"},
};

class HostileText : public ::testing::TestWithParam<HostileRow> {};

TEST_P(HostileText, IsSpokenToItsEndByEveryEngine) {
  const test::PackagesForAllEngines installed;
  test::SpeechRecorder host;
  test::RobotManager manager(&host);
  ASSERT_TRUE(manager.initialize(installed.packages()));
  for (const char* language : {"English", "Arabic", "Turkish"}) {
    manager.setCurrentLanguage(language);
    manager.startSynthetizer(GetParam().text);
  }
  EXPECT_EQ(host.ends(), std::vector<SpeechEnd>(3, SpeechEnd::finished));
}

INSTANTIATE_TEST_SUITE_P(Table, HostileText, ::testing::ValuesIn(hostileRows), test::RowName());

TEST(Robot, CanBeStoppedInTenMegabytesByEveryEngine) {
  const test::PackagesForAllEngines installed;
  test::SpeechRecorder host;
  test::RobotManager manager(&host);
  ASSERT_TRUE(manager.initialize(installed.packages()));
  host.atAudio = [] { return false; };
  host.atMark = [&] { manager.stopSynthetizer(); };
  std::string text = "\\mrk=1\\";
  while (text.size() < 10000000) {
    text += "This sentence is one of very many that all sound alike. ";
  }
  for (const char* language : {"English", "French", "Turkish"}) {
    manager.setCurrentLanguage(language);
    manager.startSynthetizer(text);
  }
  EXPECT_EQ(host.ends(), std::vector<SpeechEnd>(3, SpeechEnd::stopped));
}

}  // namespace
