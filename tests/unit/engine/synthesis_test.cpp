#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "support/errors.hpp"
#include "support/fake_engine.hpp"

namespace {

using test::FakeEngine;
using test::throwsNotActive;
using testing::ElementsAre;
using testing::IsEmpty;

class SynthesisTest : public testing::Test {
 protected:
  SynthesisTest() {
    engine.initialize({});
    engine.takeCalls();
  }

  /// Makes the next hook throw.
  void failHook() {
    engine.onCall = [](const std::string&) { throw std::runtime_error("broken"); };
  }

  FakeEngine engine;
};

TEST_F(SynthesisTest, TheEngineTalksOnlyInsideTheStartHook) {
  bool insideHook = false;
  engine.onCall = [&](const std::string&) { insideHook = engine.isTalking(); };

  engine.startSynthetizer("hello");

  EXPECT_TRUE(insideHook);
  EXPECT_FALSE(engine.isTalking());
}

TEST_F(SynthesisTest, ATextArrivesByteForByte) {
  const std::string text("\\Pau=5\\ \xC3\xA9\0\xFF end", 17);
  engine.startSynthetizer(text);
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xStartSynthetizer " + text));
}

TEST_F(SynthesisTest, AStartThatThrowsLeavesTheEngineTalkingUntilTheNextStop) {
  failHook();
  EXPECT_THROW(engine.startSynthetizer("hello"), std::runtime_error);
  EXPECT_TRUE(engine.isTalking());

  engine.onCall = nullptr;
  engine.stopSynthetizer();
  EXPECT_FALSE(engine.isTalking());
}

TEST_F(SynthesisTest, AStopClearsTalkingAfterItsHook) {
  failHook();
  EXPECT_THROW(engine.startSynthetizer("hello"), std::runtime_error);
  bool insideHook = false;
  engine.onCall = [&](const std::string&) { insideHook = engine.isTalking(); };

  engine.stopSynthetizer();

  EXPECT_TRUE(insideHook);
}

TEST_F(SynthesisTest, AStopThatThrowsLeavesTheEngineTalking) {
  failHook();
  EXPECT_THROW(engine.startSynthetizer("hello"), std::runtime_error);
  EXPECT_THROW(engine.stopSynthetizer(), std::runtime_error);
  EXPECT_TRUE(engine.isTalking());
}

TEST_F(SynthesisTest, PauseSetsTheFlagAfterItsHook) {
  bool insideHook = true;
  engine.onCall = [&](const std::string&) { insideHook = engine.isPaused(); };

  engine.pauseSynthetizer();

  EXPECT_FALSE(insideHook);
  EXPECT_TRUE(engine.isPaused());
}

TEST_F(SynthesisTest, RestartClearsTheFlagBeforeItsHook) {
  engine.pauseSynthetizer();
  bool insideHook = true;
  engine.onCall = [&](const std::string&) { insideHook = engine.isPaused(); };

  engine.restartSynthetizer();

  EXPECT_FALSE(insideHook);
}

TEST_F(SynthesisTest, APauseThatThrowsLeavesTheEngineUnpaused) {
  failHook();
  EXPECT_THROW(engine.pauseSynthetizer(), std::runtime_error);
  EXPECT_FALSE(engine.isPaused());
}

TEST_F(SynthesisTest, ARestartThatThrowsLeavesTheEngineUnpaused) {
  engine.pauseSynthetizer();
  failHook();
  EXPECT_THROW(engine.restartSynthetizer(), std::runtime_error);
  EXPECT_FALSE(engine.isPaused());
}

TEST_F(SynthesisTest, PauseTwiceCallsTheHookOnce) {
  engine.pauseSynthetizer();
  engine.pauseSynthetizer();
  EXPECT_THAT(engine.takeCalls(), ElementsAre("xPauseSynthetizer"));
}

TEST_F(SynthesisTest, ASecondPauseIsSilentEvenWhenTheEngineHasBecomeInactive) {
  engine.pauseSynthetizer();
  engine.terminate();
  engine.takeCalls();

  engine.pauseSynthetizer();

  EXPECT_THAT(engine.takeCalls(), IsEmpty());
}

TEST_F(SynthesisTest, AStopLeavesThePause) {
  engine.pauseSynthetizer();
  engine.stopSynthetizer();
  EXPECT_TRUE(engine.isPaused());
}

TEST_F(SynthesisTest, TheLockIsReleasedWhenAHookThrows) {
  failHook();
  EXPECT_THROW(engine.stopSynthetizer(), std::runtime_error);
  EXPECT_THROW(engine.pauseSynthetizer(), std::runtime_error);
  engine.onCall = nullptr;
  engine.pauseSynthetizer();
  failHook();
  EXPECT_THROW(engine.restartSynthetizer(), std::runtime_error);
  engine.onCall = nullptr;

  engine.stopSynthetizer();  // would deadlock
}

TEST_F(SynthesisTest, TheLockIsReleasedWhenTheEngineIsNotActive) {
  engine.terminate();
  EXPECT_THAT([&] { engine.stopSynthetizer(); }, throwsNotActive("stopSynthetizer"));
  EXPECT_THAT([&] { engine.pauseSynthetizer(); }, throwsNotActive("pauseSynthetizer"));
  engine.setFlags(false, true);
  EXPECT_THAT([&] { engine.restartSynthetizer(); }, throwsNotActive("restartSynthetizer"));

  engine.initialize({});
  engine.stopSynthetizer();  // would deadlock
}

TEST_F(SynthesisTest, AnswersOfTheEnginePassUnchanged) {
  engine.parameter = -0.25F;
  engine.parameters = {"speed", "", "speed", "pitch"};
  engine.samplingRate = -1;
  engine.encodingResult = std::numeric_limits<int>::min();

  EXPECT_EQ(engine.getParameter("any"), -0.25F);
  EXPECT_THAT(engine.getAvailableParameters(), ElementsAre("speed", "", "speed", "pitch"));
  EXPECT_EQ(engine.getCurrentSamplingRate(), -1);
  EXPECT_EQ(engine.testTextEncoding("a", "b"), std::numeric_limits<int>::min());
}

}  // namespace
