#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "support/fake_engine.hpp"
#include "support/latch.hpp"
#include "support/storm.hpp"

namespace {

using test::FakeEngine;

TEST(EngineThreadsTest, StopPauseAndRestartDoNotWaitForARunningStart) {
  FakeEngine engine;
  engine.initialize({});
  test::Latch entered;
  test::Latch release;
  engine.onCall = [&](const std::string& call) {
    if (call == "xStartSynthetizer hello") {
      entered.open();
      release.wait();
    }
  };
  std::thread speaker([&] { engine.startSynthetizer("hello"); });
  ASSERT_TRUE(entered.wait());
  engine.takeCalls();

  engine.pauseSynthetizer();
  engine.restartSynthetizer();
  engine.stopSynthetizer();

  EXPECT_THAT(engine.takeCalls(),
              testing::ElementsAre("xPauseSynthetizer", "xRestartSynthetizer", "xStopSynthetizer"));
  release.open();
  speaker.join();
}

TEST(EngineThreadsTest, StopPauseAndRestartExcludeOneAnother) {
  FakeEngine engine;
  engine.initialize({});
  std::atomic<int> inside{0};
  std::atomic<int> most{0};
  engine.onCall = [&](const std::string&) {
    const int now = ++inside;
    if (now > most) {
      most = now;
    }
    std::this_thread::yield();
    --inside;
  };

  test::storm(100, {[&] { engine.stopSynthetizer(); }, [&] { engine.pauseSynthetizer(); },
                    [&] { engine.restartSynthetizer(); }});

  EXPECT_EQ(most, 1);
}

TEST(EngineThreadsTest, OnlyOneOfSimultaneousPausesReachesTheEngine) {
  FakeEngine engine;
  engine.initialize({});
  for (int round = 0; round < 10; ++round) {
    std::atomic<int> arrived{0};
    const auto pause = [&] {
      ++arrived;
      engine.pauseSynthetizer();
    };
    engine.takeCalls();
    engine.onCall = [&](const std::string&) {
      while (arrived < 3) {
        std::this_thread::yield();
      }
      for (int chance = 0; chance < 10; ++chance) {  // lets the others reach the lock
        std::this_thread::yield();
      }
    };

    test::storm(1, {pause, pause, pause});

    ASSERT_THAT(engine.takeCalls(), testing::ElementsAre("xPauseSynthetizer"));
    engine.onCall = nullptr;
    engine.restartSynthetizer();
  }
}

TEST(EngineThreadsTest, OperationsStormWithoutARace) {
  FakeEngine engine;
  engine.initialize({});

  test::storm(300, test::everyOperationOf(engine));

  engine.stopSynthetizer();
  EXPECT_TRUE(engine.isInitialized());
  EXPECT_FALSE(engine.isTalking());
  EXPECT_EQ(engine.getCurrentSamplingRate(), 22050);
}

}  // namespace
