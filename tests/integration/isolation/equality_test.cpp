#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "isolated.hpp"
#include "support/errors.hpp"
#include "support/log_recorder.hpp"

// An isolated engine is used as any other.

namespace {

using test::fault;
using test::IsolatedFaultyEngine;
using test::SpeechEvent;
using Kind = SpeechEvent::Kind;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsSubsetOf;
using ::testing::Property;

TEST(IsolatedEngine, HasTheEnginesName) {
  EXPECT_EQ(IsolatedFaultyEngine()->getName(), "Faulty");
}

TEST(IsolatedEngine, GivesTheErrorsOfTheEngine) {
  IsolatedFaultyEngine engine;
  EXPECT_THAT([&] { engine->setParameter("refuse", 1); },
              ::testing::Throws<KQError>(::testing::AllOf(
                  Property(&KQError::getModule, "Faulty"), Property(&KQError::getMethod, "method"),
                  Property(&KQError::getDescription, "an error of the engine"),
                  Property(&KQError::getFile, ::testing::StrEq("faulty.cpp")),
                  Property(&KQError::getLine, 7))));
}

TEST(IsolatedEngine, GivesForeignExceptionsAsErrorsOfTheEngine) {
  IsolatedFaultyEngine engine;
  EXPECT_THAT([&] { engine->setParameter("throw", 1); },
              test::throwsKQError("Faulty", "setParameter", "a foreign exception"));
  EXPECT_THAT([&] { engine->setParameter("throwText", 1); },
              test::throwsKQError("Faulty", "setParameter", "a text that is thrown"));
}

TEST(IsolatedEngine, WritesItsLogInTheHost) {
  IsolatedFaultyEngine engine;
  const test::LogRecorder log;
  engine->testTextEncoding("first", "second");
  using zu::log::Level;
  EXPECT_THAT(
      log.lines(),
      ElementsAre(
          test::LogLine{Level::warning, "faulty", "first", "faulty.cpp", "testTextEncoding", 12},
          test::LogLine{Level::verbose, "faulty", "second", "faulty.cpp", "testTextEncoding", 13}));
}

TEST(IsolatedEngine, WritesWhatTheHostLetsThroughOnly) {
  IsolatedFaultyEngine engine;
  const test::LogRecorder log;
  zu::log::setLevel("faulty", zu::log::Level::warning);
  engine->testTextEncoding("first", "second");
  EXPECT_THAT(log.messages(), ElementsAre("first"));
}

TEST(IsolatedEngine, LeavesStandardOutputToTheHost) {
  IsolatedFaultyEngine engine;
  ::testing::internal::CaptureStdout();
  engine->testTextEncoding("first", "second");
  engine->loadEffect("robot.xml");
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Engine load effect \"robot.xml\"\n");
}

TEST(IsolatedEngine, AddsToTheLanguageTable) {
  IsolatedFaultyEngine engine;
  EXPECT_EQ(engine.languages->getLocale("Elvish"), "qya_XX");
  EXPECT_EQ(engine.languages->getLanguage("qya_XX"), "Elvish");
}

TEST(IsolatedEngine, SpeaksWithoutACallback) {
  IsolatedFaultyEngine engine(false, {});
  engine->startSynthetizer("One two.");
}

TEST(IsolatedEngine, TellsEachBufferAsItIs) {
  IsolatedFaultyEngine engine;
  engine->startSynthetizer("One four.");
  std::vector<std::size_t> counts;
  for (const SpeechEvent& event : engine.host.events(Kind::audio)) {
    counts.push_back(event.count);
  }
  EXPECT_THAT(counts, ElementsAre(500, 500, 500, 500));
  test::Samples expected(1000, 3);
  expected.insert(expected.end(), 1000, 4);
  EXPECT_EQ(engine.host.samples(), expected);
}

TEST(IsolatedEngine, TakesTextsOfAnyLength) {
  IsolatedFaultyEngine engine;
  const std::string text = std::string(50 * 1000 * 1000, ' ') + "One.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ElementsAre("One"));
}

struct OwnException {
  int number;
};

TEST(IsolatedEngine, LetsTheSameExceptionOfTheHostThrough) {
  IsolatedFaultyEngine engine;
  const OwnException* thrown = nullptr;
  engine.host.atAudio = [&]() -> bool {
    try {
      throw OwnException{17};
    } catch (const OwnException& exception) {
      thrown = &exception;
      throw;
    }
  };
  try {
    engine->startSynthetizer("One two.");
    FAIL() << "nothing came out";
  } catch (const OwnException& exception) {
    EXPECT_EQ(&exception, thrown);
  }
  EXPECT_THAT(engine.host.ends(), ElementsAre(SpeechEnd::failed));
}

TEST(IsolatedEngine, IsAtMostTwoHundredMillisecondsAhead) {
  IsolatedFaultyEngine engine;
  // The engine sets a word's length as the sample's value; here each buffer is a word of its own.
  std::size_t taken = 0;
  engine.host.atAudio = [&] {
    taken += 500;
    if (taken == 1000) {
      // Dies with what it has made; that is all there is after the two that were taken.
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      engine.killProcess();
    }
    return true;
  };
  const std::string text = "One two three four five six seven eight nine ten eleven twelve.";
  engine->startSynthetizer(text);
  EXPECT_THAT(engine.host.words(text), ::testing::SizeIs(12));
}

TEST(IsolatedEngine, CannotBeStartedFromItsOwnEvent) {
  IsolatedFaultyEngine engine;
  engine.host.atAudio = [&] {
    engine->startSynthetizer("Two.");
    return true;
  };
  EXPECT_THAT([&] { engine->startSynthetizer("One."); },
              test::throwsKQError("Faulty", "startSynthetizer",
                                  "An utterance cannot be started from an event of another one."));
}

TEST(IsolatedEngine, CanBeAskedFromItsOwnEvent) {
  IsolatedFaultyEngine engine;
  float speed = 0;
  engine.host.atAudio = [&] {
    speed = engine->getParameter("speed");
    return true;
  };
  engine->startSynthetizer("One.");
  EXPECT_EQ(speed, 100.F);
}

}  // namespace
