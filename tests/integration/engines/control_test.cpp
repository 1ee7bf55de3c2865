#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stdexcept>

#include "engines/speaking_engine.hpp"
#include "support/errors.hpp"

namespace {

using test::SpeakingEngine;
using test::SpeechEvent;
using ::testing::ElementsAre;

/// An engine that speaks in another thread, for far longer than the test takes.
class Speaking : public ::testing::Test {
 protected:
  ~Speaking() override { finish(); }

  void start() {
    speech =
        std::async(std::launch::async, [this] { speaking->startSynthetizer(test::longText()); });
  }

  void startAndHear() {
    start();
    ASSERT_TRUE(speaking.host.firstAudio.wait());
  }

  /// Ends the speech whatever its state.
  void finish() {
    speaking->terminate();
    if (speech.valid()) {
      speech.wait();
    }
  }

  std::size_t samplesEmitted() const { return speaking.host.samples().size(); }

  // Events use it, so it outlives the speech.
  test::Latch inEvent;
  test::Latch paused;
  test::Latch toldWhilePaused;
  bool isPausedOnce = false;

  SpeakingEngine speaking;
  std::future<void> speech;
};

TEST_F(Speaking, StopEndsIt) {
  startAndHear();
  speaking->stopSynthetizer();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, StopFromAnEventIsFollowedByNoMoreAudio) {
  int buffers = 0;
  speaking.host.atAudio = [&] {
    if (++buffers == 3) {
      speaking->stopSynthetizer();
    }
    return true;
  };
  speaking->startSynthetizer(test::longText());
  EXPECT_EQ(buffers, 3);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, NoAudioBufferIsLongerThanFiftyMilliseconds) {
  speaking->startSynthetizer("How long is a buffer?");
  for (const SpeechEvent& event : speaking.host.events(SpeechEvent::Kind::audio)) {
    EXPECT_LE(event.count, static_cast<unsigned>(test::engineUnderTest().samplingRate) * 50 / 1000);
  }
}

TEST_F(Speaking, RefusingHostEndsItAsStopped) {
  int buffers = 0;
  speaking.host.atAudio = [&] { return ++buffers < 3; };
  speaking->startSynthetizer(test::longText());
  EXPECT_EQ(buffers, 3);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, StopBeforeStartDoesNotStopIt) {
  speaking->stopSynthetizer();
  speaking->startSynthetizer("Hello");
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST_F(Speaking, StopBetweenTwoStartsDoesNotStopTheNext) {
  speaking->startSynthetizer("One");
  speaking->stopSynthetizer();
  speaking->startSynthetizer("Two");
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished, SpeechEnd::finished));
}

TEST_F(Speaking, AnotherUtteranceFollowsAStoppedOne) {
  speaking.host.atAudio = [] { return false; };
  speaking->startSynthetizer(test::longText());
  speaking.host.atAudio = nullptr;
  speaking->startSynthetizer("Hello");
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped, SpeechEnd::finished));
}

TEST_F(Speaking, AnUtteranceAfterAStoppedOneSoundsAsAlways) {
  const double normal = test::length(test::spoken("Hello"));
  int buffers = 0;
  speaking.host.atAudio = [&] { return ++buffers != 40; };
  speaking->startSynthetizer(
      "\\RSPD=60\\ \\Vol=10\\ Some words to be cut off somewhere in the middle.");
  const double before = test::length(speaking.host.samples());
  speaking->startSynthetizer("Hello");
  EXPECT_NEAR(test::length(speaking.host.samples()) - before, normal, normal * 0.01);
}

TEST_F(Speaking, PauseHoldsIt) {
  // The engine is paused while the host receives a buffer; the next one must not come.
  speaking.host.atAudio = [&] {
    if (isPausedOnce) {
      toldWhilePaused.open();
    }
    inEvent.open();
    isPausedOnce = paused.wait();
    return true;
  };
  start();
  ASSERT_TRUE(inEvent.wait());
  speaking->pauseSynthetizer();
  paused.open();
  EXPECT_FALSE(toldWhilePaused.waitFor(std::chrono::milliseconds(50)));
  EXPECT_TRUE(speaking.host.ends().empty());
}

TEST_F(Speaking, PauseFromAnEventHoldsAtOnce) {
  speaking.host.atAudio = [&] {
    if (speaking->isPaused()) {
      toldWhilePaused.open();
    }
    speaking->pauseSynthetizer();
    return true;
  };
  startAndHear();
  EXPECT_FALSE(toldWhilePaused.waitFor(std::chrono::milliseconds(50)));
}

TEST_F(Speaking, RestartGoesOnWithTheNextSample) {
  const double whole = test::length(test::spoken("One two three four five"));
  speaking.host.atAudio = [&] {
    if (!isPausedOnce) {
      isPausedOnce = true;
      speaking->pauseSynthetizer();
      paused.open();
    }
    return true;
  };
  speech = std::async(std::launch::async,
                      [&] { speaking->startSynthetizer("One two three four five"); });
  ASSERT_TRUE(paused.wait());
  speaking->restartSynthetizer();
  speech.wait();
  EXPECT_NEAR(test::length(speaking.host.samples()), whole, whole * 0.01);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST_F(Speaking, StopEndsAPausedOne) {
  startAndHear();
  speaking->pauseSynthetizer();
  speaking->stopSynthetizer();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, OnAPausedEngineHoldsBeforeItsFirstAudio) {
  speaking->pauseSynthetizer();
  start();
  EXPECT_FALSE(speaking.host.firstAudio.waitFor(std::chrono::milliseconds(50)));
  speaking->restartSynthetizer();
  EXPECT_TRUE(speaking.host.firstAudio.wait());
}

TEST_F(Speaking, TerminateEndsIt) {
  startAndHear();
  EXPECT_TRUE(speaking->terminate());
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, TerminateEndsAPausedOne) {
  startAndHear();
  speaking->pauseSynthetizer();
  speaking->terminate();
  speech.wait();
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, TerminateFromAnEventEndsIt) {
  speaking.host.atAudio = [&] {
    speaking->terminate();
    return true;
  };
  speaking->startSynthetizer(test::longText());
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(Speaking, IsPossibleAgainAfterTerminateAndInitialize) {
  speaking->terminate();
  ASSERT_TRUE(speaking->initialize(test::engineUnderTest().packages));
  speaking->startSynthetizer("Hello");
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST_F(Speaking, IsRefusedByAnInactiveEngine) {
  speaking->terminate();
  EXPECT_THAT([&] { speaking->startSynthetizer("Hello"); }, test::throwsNotActive("startTalking"));
}

TEST_F(Speaking, ExceptionOfTheHostPassesThroughAndEndsItAsFailed) {
  speaking.host.atAudio = []() -> bool { throw std::runtime_error("no more tape"); };
  EXPECT_THROW(speaking->startSynthetizer("Hello"), std::runtime_error);
  EXPECT_EQ(speaking.host.events(SpeechEvent::Kind::audio).size(), 1U);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::failed));
}

TEST_F(Speaking, ExceptionOfAMarkPassesThroughAndEndsItAsFailed) {
  speaking.host.atMark = [] { throw std::runtime_error("unknown mark"); };
  EXPECT_THROW(speaking->startSynthetizer("\\mrk=1\\ Hello"), std::runtime_error);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::failed));
}

TEST_F(Speaking, WorksAgainAfterAnException) {
  speaking.host.atAudio = []() -> bool { throw std::runtime_error("no more tape"); };
  EXPECT_THROW(speaking->startSynthetizer("Hello"), std::runtime_error);
  speaking.host.atAudio = nullptr;
  speaking->startSynthetizer("Hello");
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::failed, SpeechEnd::finished));
}

/// A host whose start or end fails.
class FailingHost : public test::SpeechRecorder {
 public:
  bool atStart = false;
  bool atEnd = false;

  void onStart() override {
    SpeechRecorder::onStart();
    if (atStart) {
      throw std::runtime_error("not now");
    }
  }
  void onEnd(SpeechEnd end) override {
    SpeechRecorder::onEnd(end);
    if (atEnd) {
      throw std::logic_error("not yet");
    }
  }
};

TEST(FailingStart, IsFollowedByOneEndAndNoAudio) {
  FailingHost host;
  host.atStart = true;
  test::LoadedEngine engine(&host);
  engine->initialize(test::engineUnderTest().packages);
  EXPECT_THROW(engine->startSynthetizer("Hello"), std::runtime_error);
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::failed));
  EXPECT_TRUE(host.samples().empty());
}

TEST(FailingStart, IsThrownEvenIfTheEndFailsToo) {
  FailingHost host;
  host.atStart = true;
  host.atEnd = true;
  test::LoadedEngine engine(&host);
  engine->initialize(test::engineUnderTest().packages);
  EXPECT_THROW(engine->startSynthetizer("Hello"), std::runtime_error);
}

TEST(FailingEnd, PassesThroughAndIsNotRepeated) {
  FailingHost host;
  host.atEnd = true;
  test::LoadedEngine engine(&host);
  engine->initialize(test::engineUnderTest().packages);
  EXPECT_THROW(engine->startSynthetizer("Hello"), std::logic_error);
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(NoHost, IsNoError) {
  test::LoadedEngine engine(nullptr);
  engine->initialize(test::engineUnderTest().packages);
  EXPECT_NO_THROW(engine->startSynthetizer("\\mrk=1\\ Hello"));
}

}  // namespace
