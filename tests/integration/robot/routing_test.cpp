#include <gtest/gtest.h>

#include "robot/robot.hpp"
#include "support/row_name.hpp"

namespace {

struct LanguageRow {
  const char* name;
  const char* engine;
  int samplingRate;
  const char* sentence;
};

const LanguageRow rows[] = {
    {"English", "Flite", 16000, "Good morning, how are you today?"},
    {"EnglishGB", "eSpeak NG", 22050, "Good morning, how are you today?"},
    {"Chinese", "eSpeak NG", 22050, "你好，今天很好。"},
    {"Russian", "eSpeak NG", 22050, "Добрый день, как ваши дела?"},
    {"Arabic", "eSpeak NG", 22050, "مرحبا، كيف حالك اليوم؟"},
};

class RoutedLanguage : public ::testing::TestWithParam<LanguageRow> {};

TEST_P(RoutedLanguage, IsSpokenByItsEngine) {
  const test::PackagesForAllEngines installed;
  test::SpeechRecorder host;
  test::RobotManager manager(&host);
  ASSERT_TRUE(manager.initialize(installed.packages()));
  manager.setCurrentLanguage(GetParam().name);
  EXPECT_EQ(manager.xGetEngine(GetParam().name)->getName(), GetParam().engine);
  manager.startSynthetizer(GetParam().sentence);
  EXPECT_EQ(host.samplingRate(), GetParam().samplingRate);
  EXPECT_NEAR(test::length(host.samples()) / GetParam().samplingRate, 2.5, 1);
  EXPECT_GT(test::level(host.samples()), 500);
}

INSTANTIATE_TEST_SUITE_P(Table, RoutedLanguage, ::testing::ValuesIn(rows), test::RowName());

TEST(Robot, SpeaksOneLanguageAfterAnotherWithThreeEngines) {
  const test::PackagesForAllEngines installed;
  test::SpeechRecorder host;
  test::RobotManager manager(&host);
  ASSERT_TRUE(manager.initialize(installed.packages()));
  for (const char* language : {"Turkish", "English", "French", "Turkish"}) {
    manager.setCurrentLanguage(language);
    manager.startSynthetizer("one two");
  }
  EXPECT_EQ(host.words("one two"),
            (std::vector<std::string>{"one", "two", "one", "two", "one", "two", "one", "two"}));
  EXPECT_EQ(host.ends(), std::vector<SpeechEnd>(4, SpeechEnd::finished));
}

}  // namespace
