#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "isolated.hpp"
#include "support/environment.hpp"
#include "support/errors.hpp"
#include "support/log_recorder.hpp"

namespace {

using test::fault;
using test::IsolatedFaultyEngine;
using test::SpeechEvent;
using Clock = std::chrono::steady_clock;
using Kind = SpeechEvent::Kind;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Property;
using ::testing::SizeIs;

auto describes(const std::string& part) {
  return ::testing::Throws<KQError>(Property(&KQError::getDescription, HasSubstr(part)));
}

/// The warnings about engines' processes.
std::vector<std::string> deaths(const test::LogRecorder& log) {
  std::vector<std::string> messages;
  for (const test::LogLine& line : log.lines()) {
    if (line.category == "engine.isolated" && line.message.find("protected") == std::string::npos &&
        line.level == zu::log::Level::warning) {
      messages.push_back(line.message);
    }
  }
  return messages;
}

/// Deaths are counted for all engines of a plug-in, until one speaks a sentence.
void forgetDeaths() {
  IsolatedFaultyEngine()->startSynthetizer("One.");
}

/// Kills the engine's process at a word, once.
void killAt(IsolatedFaultyEngine& engine, std::size_t offset, int signal = SIGKILL) {
  const pid_t process = engine.process();
  engine.host.atWord = [&engine, process, offset, signal,
                        isDone = false](const SpeechWord& word) mutable {
    if (word.textOffset == offset && !isDone) {
      isDone = true;
      ::kill(process, signal);
      static_cast<void>(engine);
    }
  };
}

TEST(KilledEngine, SpeaksOnAtTheFirstWordThatWasNotHeard) {
  IsolatedFaultyEngine engine;
  const std::string text = "One two three four five. Six seven eight.";
  killAt(engine, text.find("three"));
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text),
              ElementsAre("One", "two", "three", "four", "five", "Six", "seven", "eight"));
  EXPECT_THAT(engine.host.events(Kind::start), SizeIs(1));
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(KilledEngine, TellsPositionsThatGoOn) {
  IsolatedFaultyEngine engine;
  const std::string text = "One two three four five. Six seven eight.";
  killAt(engine, text.find("four"));
  engine->startSynthetizer(text);
  std::uint64_t samples = 0;
  std::uint64_t last = 0;
  for (const SpeechEvent& event : engine.host.events()) {
    samples += event.count;
    if (event.kind == Kind::word) {
      EXPECT_GE(event.word.samplePosition, last);
      EXPECT_GE(event.word.samplePosition, samples);
      last = event.word.samplePosition;
    }
  }
  EXPECT_GE(last, 7000U);
}

TEST(KilledEngine, TellsEachMarkOnce) {
  IsolatedFaultyEngine engine;
  const std::string text = "One \\mrk=1\\ two \\mrk=2\\ three \\mrk=3\\ four.";
  killAt(engine, text.find("three"));
  engine->startSynthetizer(text);
  std::vector<int> marks;
  for (const SpeechEvent& event : engine.host.events(Kind::mark)) {
    marks.push_back(event.number);
  }
  EXPECT_THAT(marks, ElementsAre(1, 2, 3));
}

TEST(KilledEngine, IsReportedOnceWithTheSignalAndThePlace) {
  IsolatedFaultyEngine engine;
  const std::string text = "One two three four five.";
  killAt(engine, text.find("three"));
  const test::LogRecorder log;
  engine->startSynthetizer(text);
  EXPECT_THAT(deaths(log), ElementsAre(AllOf(HasSubstr("was ended by signal 9 (Killed)"),
                                             HasSubstr("of the text"), HasSubstr("before \""))));
}

TEST(CrashingSentence, IsLeftOutAndTheRestIsSpoken) {
  IsolatedFaultyEngine engine;
  const std::string text = "One two. Three crash four. Five six.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One", "two", "Three", "Five", "six"));
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(CrashingSentence, AtTheEndIsLeftOut) {
  IsolatedFaultyEngine engine;
  engine->startSynthetizer("One two. crash");
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(CrashingSentence, ThatExitsIsLeftOut) {
  IsolatedFaultyEngine engine;
  const test::LogRecorder log;
  const std::string text = "exit. One.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One"));
  EXPECT_THAT(deaths(log), Contains(HasSubstr("exited with status 3")));
}

TEST(LyingEngine, IsKilledAndItsSentenceLeftOut) {
  IsolatedFaultyEngine engine;
  const test::LogRecorder log;
  const std::string text = "One. lie. Two.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One", "Two"));
  EXPECT_THAT(deaths(log), Contains(HasSubstr("reported nonsense")));
}

/// Engines are taken for hanging soon.
class Hanging : public ::testing::Test {
 protected:
  const test::Environment patience{"KQTTS_ISOLATION_PATIENCE", "150"};
};

TEST_F(Hanging, SentenceIsLeftOut) {
  IsolatedFaultyEngine engine;
  const test::LogRecorder log;
  const std::string text = "One. hang. Two.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One", "Two"));
  EXPECT_THAT(deaths(log), Contains(HasSubstr("did not go on within")));
}

TEST_F(Hanging, ProcessThatIsHeldIsReplaced) {
  IsolatedFaultyEngine engine;
  const std::string text = "One two three four five.";
  killAt(engine, text.find("three"), SIGSTOP);
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One", "two", "three", "four", "five"));
}

TEST_F(Hanging, TimeInTheCallbackDoesNotCount) {
  IsolatedFaultyEngine engine;
  engine.host.atAudio = [isFirst = true]() mutable {
    if (std::exchange(isFirst, false)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    }
    return true;
  };
  const test::LogRecorder log;
  engine->startSynthetizer("One two.");
  EXPECT_THAT(deaths(log), IsEmpty());
}

TEST_F(Hanging, TimeInAPauseDoesNotCount) {
  IsolatedFaultyEngine engine;
  const test::LogRecorder log;
  test::Latch paused;
  engine.host.atAudio = [&, isFirst = true]() mutable {
    if (std::exchange(isFirst, false)) {
      engine->pauseSynthetizer();
      paused.open();
    }
    return true;
  };
  auto speech =
      std::async(std::launch::async, [&] { engine->startSynthetizer("One two three four."); });
  ASSERT_TRUE(paused.wait());
  std::this_thread::sleep_for(std::chrono::milliseconds(2500));
  engine->restartSynthetizer();
  speech.get();
  EXPECT_THAT(deaths(log), IsEmpty());
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST_F(Hanging, OperationIsAnErrorThatSaysWhat) {
  IsolatedFaultyEngine engine;
  EXPECT_THAT([&] { engine->setParameter("hang", 1); }, describes("did not answer within"));
}

TEST(Stop, EndsAHangingUtteranceSoon) {
  IsolatedFaultyEngine engine;
  auto speech = std::async(std::launch::async, [&] { engine->startSynthetizer("One hang."); });
  ASSERT_TRUE(engine.host.firstAudio.wait());
  const auto begin = Clock::now();
  engine->stopSynthetizer();
  speech.get();
  EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(500));  // 100 on a quiet machine
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST(Stop, ThatHangsItselfEndsTheUtteranceSoon) {
  IsolatedFaultyEngine engine({fault("stop", "hang")});
  auto speech = std::async(std::launch::async, [&] { engine->startSynthetizer("One hang."); });
  ASSERT_TRUE(engine.host.firstAudio.wait());
  engine->stopSynthetizer();
  speech.get();
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST(Stop, OfAHangingUtteranceLeavesAnEngineThatSpeaks) {
  IsolatedFaultyEngine engine;
  engine->setCurrentVoice("english-two");
  engine.host.atWord = [&](const SpeechWord& word) {
    if (word.textOffset == 4) {
      engine->stopSynthetizer();
    }
  };
  engine->startSynthetizer("One two hang.");
  engine.host.atWord = nullptr;
  engine->startSynthetizer("One two.");
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::stopped, SpeechEnd::finished));
  EXPECT_EQ(engine->getCurrentVoice(), "english-two");
}

TEST(Operation, ThatKillsTheEngineTwiceIsAnErrorThatSaysHow) {
  forgetDeaths();
  IsolatedFaultyEngine engine;
  EXPECT_THAT([&] { engine->setParameter("crash", 1); },
              test::throwsKQError("Faulty", "setParameter",
                                  "The engine's process was ended by signal 11 (Segmentation "
                                  "fault) while it was asked to setParameter."));
}

TEST(Operation, IsTriedAgainWhenTheEngineHasDiedBefore) {
  forgetDeaths();
  IsolatedFaultyEngine engine;
  engine.killProcess();
  EXPECT_EQ(engine->getParameter("speed"), 100.F);
}

TEST(NewProcess, GetsTheStateOfTheOldOne) {
  forgetDeaths();
  IsolatedFaultyEngine engine;
  engine->setParameter("speed", 150);
  engine->resetSpeed();
  engine->setParameter("tone", 7);
  engine->setCurrentLanguage("Elvish");
  engine->loadDictionary();
  engine->setCurrentLanguage("English");
  engine->setCurrentVoice("english-two");
  engine->applyEffect("echo", true);
  engine->enableFilter(false);
  engine.killProcess();
  EXPECT_EQ(engine->getParameter("speed"), 100.F);
  EXPECT_EQ(engine->getParameter("tone"), 7.F);
  EXPECT_EQ(engine->getParameter("effect echo"), 1.F);
  EXPECT_EQ(engine->getParameter("filter"), 0.F);
  EXPECT_EQ(engine->getParameter("dictionaries"), 1.F);
  EXPECT_EQ(engine->getCurrentLanguage(), "English");
  EXPECT_EQ(engine->getCurrentVoice(), "english-two");
}

TEST(EngineThatDiesAgainAndAgain, IsGivenUpForAWhile) {
  forgetDeaths();
  IsolatedFaultyEngine engine;
  for (int i = 0; i < 3; ++i) {
    EXPECT_THROW(engine->setParameter("crash", 1), KQError);
  }
  EXPECT_THAT([&] { engine->startSynthetizer("One."); }, describes("is given up"));
  engine->terminate();
  EXPECT_FALSE(engine->initialize({}));
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_TRUE(engine->initialize({}));
  engine->startSynthetizer("One.");
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(EngineThatDiesAgainAndAgain, IsNotGivenUpWhileItSpeaksSentences) {
  IsolatedFaultyEngine engine;
  const std::string text = "crash. One. crash. Two. crash. Three. crash. Four.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One", "Two", "Three", "Four"));
}

struct FaultRow {
  const char* name;
  const char* how;
};

/// Begins with an engine that was not given up: deaths are counted for all of a plug-in.
class Fault : public ::testing::TestWithParam<FaultRow> {
 protected:
  void SetUp() override { forgetDeaths(); }

  const test::Environment patience{"KQTTS_ISOLATION_PATIENCE", "150"};
};

class Initialisation : public Fault {};

TEST_P(Initialisation, ThatFailsIsFalse) {
  const IsolatedFaultyEngine engine({fault("initialize", GetParam().how)});
  EXPECT_FALSE(engine.isInitialized);
}

class Termination : public Fault {};

TEST_P(Termination, ThatFailsTerminates) {
  IsolatedFaultyEngine engine({fault("terminate", GetParam().how)});
  EXPECT_TRUE(engine->terminate());
  EXPECT_TRUE(engine->initialize({}));
}

class Languages : public Fault {};

TEST_P(Languages, ThatCannotBeHadAreNone) {
  IsolatedFaultyEngine engine({fault("languages", GetParam().how)});
  EXPECT_THAT(engine->getAvailableLanguages(), IsEmpty());
}

constexpr FaultRow faults[] = {{"Crash", "crash"}, {"Exit", "exit"},     {"Hang", "hang"},
                               {"Throw", "throw"}, {"Refuse", "refuse"}, {"Lie", "lie"}};
const auto nameOf = [](const auto& row) { return row.param.name; };
INSTANTIATE_TEST_SUITE_P(Faults, Initialisation, ::testing::ValuesIn(faults), nameOf);
INSTANTIATE_TEST_SUITE_P(Faults, Termination, ::testing::ValuesIn(faults), nameOf);
INSTANTIATE_TEST_SUITE_P(Faults, Languages, ::testing::ValuesIn(faults), nameOf);

TEST(Voices, ThatAreTooManyAreNone) {
  IsolatedFaultyEngine engine({fault("voices", "many")});
  EXPECT_THAT(engine->getAllAvailableVoices(), IsEmpty());
}

}  // namespace
