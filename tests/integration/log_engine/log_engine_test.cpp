#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <future>
#include <kq/error.hpp>
#include <kqtts/texttospeech_manager.hpp>

#include "engines/speaking_engine.hpp"
#include "support/errors.hpp"
#include "support/log_recorder.hpp"
#include "support/repeat.hpp"
#include "support/row_name.hpp"
#include "support/storm.hpp"
#include "support/temp_folder.hpp"

const test::EngineUnderTest& test::engineUnderTest() {
  static const EngineUnderTest engine{"log",
                                      "Log",
                                      "",
                                      {optionalPackage("log-english")},
                                      {optionalPackage("log-english")},
                                      "english-log",
                                      "English",
                                      "english-log",
                                      16000,
                                      1000,
                                      15};
  return engine;
}

namespace {

using test::SpeakingEngine;
using test::SpeechEvent;
using Kind = test::SpeechEvent::Kind;
using ::testing::ElementsAre;
using ::testing::Field;

double seconds(const SpeechEvent& event) {
  return static_cast<double>(event.word.samplePosition) / 16000;
}

/// Returns how long a text would take to speak: the position of a mark after it.
double secondsOf(const std::string& text,
                 const std::function<void(KQ::TextToSpeechEngine&)>& setUp = nullptr) {
  SpeakingEngine speaking;
  if (setUp) {
    setUp(*speaking.engine);
  }
  speaking->startSynthetizer(text + "\\mrk=9\\");
  return seconds(speaking.host.events(Kind::mark).back());
}

TEST(LogEngine, EmitsStartWordsMarksAndEndWithoutSound) {
  SpeakingEngine speaking;
  const std::string text = "One \\mrk=7\\ two, \"three\"!";
  speaking->startSynthetizer(text);
  std::vector<Kind> kinds;
  for (const SpeechEvent& event : speaking.host.events()) {
    kinds.push_back(event.kind);
  }
  EXPECT_THAT(kinds,
              ElementsAre(Kind::start, Kind::word, Kind::mark, Kind::word, Kind::word, Kind::end));
  EXPECT_THAT(speaking.host.words(text), ElementsAre("One", "two", "three"));
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

struct TimeRow {
  const char* name;
  const char* text;
  double seconds;
};

const TimeRow times[] = {
    {"FifteenCharacters", "fifteen letters", 1},
    {"Accents", "\xC3\xA9\xC3\xA9\xC3\xA9", 0.2},
    {"Syllables", "\xE4\xBD\xA0\xE5\xA5\xBD", 0.5},
    {"Pause", "\\Pau=2500\\", 2.5},
    {"PauseMark", "\\mrkpause=300\\", 0.3},
    {"HalfSpeed", "\\RSPD=50\\fifteen letters", 2},
    {"SpeedReset", "\\RSPD=50\\\\RST\\fifteen letters", 1},
    {"Nothing", "", 0},
    {"LevelAndPitch", "\\Vol=1\\\\VCT=50\\fifteen letters", 1},
};

class Time : public ::testing::TestWithParam<TimeRow> {};

TEST_P(Time, IsEstimated) {
  EXPECT_NEAR(secondsOf(GetParam().text), GetParam().seconds, 0.001);
}

INSTANTIATE_TEST_SUITE_P(Table, Time, ::testing::ValuesIn(times), test::RowName());

TEST(LogEngine, EstimatesByTheSpeed) {
  const auto twice = [](KQ::TextToSpeechEngine& engine) { engine.setParameter("speed", 200); };
  EXPECT_NEAR(secondsOf("fifteen letters", twice), 0.5, 0.001);
}

TEST(LogEngine, TakesNoTimeAtFirst) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_NEAR(secondsOf("\\Pau=600000\\"), 600, 0.001);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
}

TEST(LogEngine, TakesTheTimeOfSpeechIfAsked) {
  const auto begin = std::chrono::steady_clock::now();
  secondsOf("\\Pau=200\\",
            [](KQ::TextToSpeechEngine& engine) { engine.setParameter("speechTime", 0.5F); });
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
}

TEST(LogEngine, RefusesATimeOutOfRange) {
  SpeakingEngine speaking;
  EXPECT_THAT(
      [&] { speaking->setParameter("speechTime", 11); },
      test::throwsKQError("Log", "setParameter",
                          "parameter \"speechTime\" cannot be 11, it must be from 0 to 10"));
}

/// An engine that would take an hour for its text.
class Waiting : public ::testing::Test {
 protected:
  Waiting() {
    speaking->setParameter("speechTime", 1);
    speaking.host.atMark = [this] { begun.open(); };
    speech = std::async(std::launch::async, [this] {
      speaking->startSynthetizer("\\mrk=1\\ \\Pau=600000\\ \\mrk=2\\ \\Pau=600000\\");
    });
    EXPECT_TRUE(begun.wait());
  }

  test::Latch begun;
  SpeakingEngine speaking;
  std::future<void> speech;
};

TEST_F(Waiting, IsCutShortByAStop) {
  speaking->stopSynthetizer();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Waiting, IsCutShortByAStopWhilePaused) {
  speaking->pauseSynthetizer();
  speaking->stopSynthetizer();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Waiting, GoesOnAfterAPause) {
  speaking->pauseSynthetizer();
  speaking->restartSynthetizer();
  EXPECT_EQ(speech.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  speaking->stopSynthetizer();
  speech.wait();
}

TEST_F(Waiting, IsCutShortByTerminate) {
  speaking->terminate();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST(LogEngine, DoesNotCountTheTimeThatItIsPaused) {
  SpeakingEngine speaking;
  test::Latch begun;
  speaking.host.atMark = [&] { begun.open(); };
  speaking->setParameter("speechTime", 1);
  auto speech =
      std::async(std::launch::async, [&] { speaking->startSynthetizer("\\mrk=1\\ \\Pau=40\\"); });
  ASSERT_TRUE(begun.wait());
  speaking->pauseSynthetizer();
  EXPECT_EQ(speech.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  speaking->restartSynthetizer();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

std::vector<std::string> records(const test::LogRecorder& log) {
  std::vector<std::string> messages;
  for (const test::LogLine& line : log.lines()) {
    if (line.category == "engine.log" && line.level == zu::log::Level::info) {
      messages.push_back(line.message);
    }
  }
  return messages;
}

TEST(LogRecord, HasWhatWasSaid) {
  SpeakingEngine speaking;
  const test::LogRecorder log;
  speaking->startSynthetizer("fifteen letters\\mrk=1\\");
  EXPECT_THAT(records(log),
              ElementsAre("log said \"fifteen letters\\mrk=1\\\" (words: 2, marks: 1, "
                          "seconds of speech: 1.00)"));
}

TEST(LogRecord, ReportsAnUtteranceCutShort) {
  SpeakingEngine speaking;
  speaking.host.atMark = [&] { speaking->stopSynthetizer(); };
  const test::LogRecorder log;
  speaking->startSynthetizer("\\mrk=1\\ more");
  EXPECT_THAT(records(log), ElementsAre("log was cut short saying \"\\mrk=1\\ more\" (words: 0, "
                                        "marks: 1, seconds of speech: 0.00)"));
}

TEST(LogRecord, IsWrittenWhenTheHostFails) {
  SpeakingEngine speaking;
  speaking.host.atMark = [] { throw std::runtime_error("unknown mark"); };
  const test::LogRecorder log;
  EXPECT_THROW(speaking->startSynthetizer("\\mrk=1\\"), std::runtime_error);
  EXPECT_EQ(records(log).size(), 1U);
}

TEST(LogRecord, ShowsTheBeginningOfALongText) {
  SpeakingEngine speaking;
  const test::LogRecorder log;
  std::string text;
  for (int i = 0; i < 100000; ++i) {
    text += "\xC3\xA9 ";
  }
  speaking->startSynthetizer(text);
  ASSERT_EQ(records(log).size(), 1U);
  EXPECT_LT(records(log)[0].size(), 300U);
  EXPECT_THAT(records(log)[0], ::testing::HasSubstr("\xC3\xA9...\" (words: 100000,"));
}

/// An engine whose user's dictionary has "machine" for "robot".
class WithDictionary : public ::testing::Test {
 protected:
  WithDictionary() {
    ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
    speaking->addToDictionary("robot", "machine", "", "", "");
  }
  ~WithDictionary() override { ::unsetenv("XDG_DATA_HOME"); }

  test::TempFolder data;
  SpeakingEngine speaking;
};

TEST_F(WithDictionary, RecordShowsWhatIsSpoken) {
  const test::LogRecorder log;
  speaking->startSynthetizer(test::repeat("robot ", 300));
  ASSERT_EQ(records(log).size(), 1U);
  EXPECT_THAT(records(log)[0], ::testing::StartsWith("log said \"machine machine "));
  EXPECT_THAT(records(log)[0], ::testing::HasSubstr("machine ...\" (words: 50,"));
}

TEST_F(WithDictionary, WordsOfALongTextAreWhole) {
  // Half a kilobyte ends between "plan" and "/t".
  const std::string text = "Hello " + test::repeat("plan/t, ", 10000);
  speaking->startSynthetizer(text);
  const std::vector<std::string> words = speaking.host.words(text);
  EXPECT_EQ(words.size(), 1251U);
  EXPECT_EQ(std::count(words.begin(), words.end(), "plan/t"), 1250);
}

const struct {
  const char* name;
  std::string text;
} strangeTexts[] = {
    {"Nul", std::string("one\0two", 7)},
    {"InvalidUtf8", "one\xFFtwo"},
    {"ControlCharacters", "one \x01 two"},
};

TEST(LogEngine, SeparatesWordsAtInvalidText) {
  for (const auto& row : strangeTexts) {
    SpeakingEngine speaking;
    speaking->startSynthetizer(row.text);
    EXPECT_THAT(speaking.host.words(row.text), ElementsAre("one", "two")) << row.name;
  }
}

TEST(LogEngine, NeverSplitsACharacter) {
  SpeakingEngine speaking;
  std::string text = "a";
  for (int i = 0; i < 1000; ++i) {
    text += "\xE4\xBD\xA0";
  }
  speaking->startSynthetizer(text);
  std::string joined;
  for (const std::string& word : speaking.host.words(text)) {
    EXPECT_NE(static_cast<unsigned char>(word.front()) & 0xC0U, 0x80U);
    joined += word;
  }
  EXPECT_EQ(joined, text);
}

TEST(LogEngine, SpeaksOneUtteranceAfterAnother) {
  SpeakingEngine speaking;
  test::storm(4, {[&] { speaking->startSynthetizer("One \\mrk=1\\ two"); },
                  [&] { speaking->startSynthetizer("Three \\mrk=2\\ four"); }});
  bool open = false;
  for (const SpeechEvent& event : speaking.host.events()) {
    EXPECT_EQ(open, event.kind != Kind::start);
    open = event.kind != Kind::end;
  }
  EXPECT_EQ(speaking.host.ends().size(), 8U);
}

TEST(LogEngine, RefusesToStartWithoutItsPackageAndDoesNotComplain) {
  const test::LogRecorder log;
  test::LoadedEngine engine(nullptr);
  EXPECT_FALSE(engine->initialize(test::builtPackages()));
  EXPECT_THAT(
      log.lines(),
      ::testing::Not(::testing::Contains(Field(&test::LogLine::level, zu::log::Level::warning))));
}

TEST(LogEngine, TakesNoLanguageUnlessItsPackageIsNamed) {
  test::searchBuiltPlugins();
  KQ::TextToSpeechManager manager(nullptr, test::languageTable());
  ASSERT_TRUE(manager.initialize(test::builtPackages()));
  EXPECT_THAT(manager.getAvailableLanguages(), ::testing::SizeIs(28));
}

TEST(LogEngine, StandsInForFliteIfItsPackageIsNamed) {
  test::searchBuiltPlugins();
  test::SpeechRecorder host;
  KQ::TextToSpeechManager manager(&host, test::languageTable());
  ASSERT_TRUE(
      manager.initialize({test::builtPackage("english"), test::optionalPackage("log-english")}));
  manager.setCurrentLanguage("English");
  manager.startSynthetizer("Hello");
  EXPECT_TRUE(host.samples().empty());
  EXPECT_EQ(host.events(Kind::word).size(), 1U);
}

}  // namespace
