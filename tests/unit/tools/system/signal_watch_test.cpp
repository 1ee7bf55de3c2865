#include "system/signal_watch.hpp"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <iostream>

#include "support/latch.hpp"

namespace {

// All tests use SIGTERM, since the tests may have been started to ignore the other signals.

using tool::SignalWatch;
using tool::StopRequest;

/// A pipe without a writer.
struct SilentPipe {
  SilentPipe() { EXPECT_EQ(::pipe(ends), 0); }
  ~SilentPipe() {
    ::close(ends[0]);
    ::close(ends[1]);
  }
  SilentPipe(const SilentPipe&) = delete;
  SilentPipe& operator=(const SilentPipe&) = delete;

  int ends[2] = {-1, -1};
};

TEST(SignalWatch, MakesASignalAStopRequestThatWakesWhoWaits) {
  const SilentPipe pipe;
  StopRequest stop;
  const SignalWatch watch(stop);
  std::thread reader([&] {
    EXPECT_EQ(stop.wait(pipe.ends[0], POLLIN, StopRequest::forever), StopRequest::Wait::stopped);
  });

  ::kill(::getpid(), SIGTERM);

  reader.join();
  EXPECT_EQ(stop.signal(), SIGTERM);
}

TEST(SignalWatch, RunsTheActionAgainAndAgainOnceAStopIsRequested) {
  StopRequest stop;
  SignalWatch watch(stop);
  std::atomic<int> runs{0};
  test::Latch ranTwice;
  const SignalWatch::Action action(watch, [&] {
    if (++runs == 2) {
      ranTwice.open();
    }
  });
  EXPECT_EQ(runs, 0);

  ::kill(::getpid(), SIGTERM);

  EXPECT_TRUE(ranTwice.wait());
}

TEST(SignalWatch, RunsNoActionThatHasGone) {
  StopRequest stop;
  SignalWatch watch(stop);
  for (int i = 0; i < 100; ++i) {
    bool isThere = true;
    const SignalWatch::Action action(watch, [&isThere] { EXPECT_TRUE(isThere); });
    if (i == 1) {
      ::kill(::getpid(), SIGTERM);
    }
  }
  test::Latch ran;
  const SignalWatch::Action last(watch, [&ran] { ran.open(); });
  EXPECT_TRUE(ran.wait());
}

[[noreturn]] void hang() {
  for (;;) {
    ::pause();
  }
}

TEST(SignalWatchDeathTest, EndsAProcessThatHangsAfterItsLastResort) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const auto hangAfterSignal = [] {
    StopRequest stop;
    SignalWatch watch(stop);
    const SignalWatch::LastResort lastResort(watch, [] { std::cerr << "last resort"; });
    ::kill(::getpid(), SIGTERM);
    hang();
  };
  EXPECT_EXIT(hangAfterSignal(), testing::ExitedWithCode(128 + SIGTERM), "last resort");
}

TEST(SignalWatchDeathTest, EndsAProcessWhoseActionAndLastResortHang) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const auto hangEverywhere = [] {
    StopRequest stop;
    SignalWatch watch(stop);
    const SignalWatch::LastResort lastResort(watch, hang);
    const SignalWatch::Action action(watch, hang);
    ::kill(::getpid(), SIGTERM);
    hang();
  };
  EXPECT_EXIT(hangEverywhere(), testing::ExitedWithCode(128 + SIGTERM), "");
}

TEST(StopRequest, KeepsTheSignalOfTheFirstOfSeveralThreads) {
  StopRequest stop;
  std::thread first([&] { stop.make(SIGINT); });
  std::thread second([&] { stop.make(SIGTERM); });
  while (!stop.made()) {
    std::this_thread::yield();
  }
  const int signal = stop.signal();
  first.join();
  second.join();
  EXPECT_EQ(stop.signal(), signal);
}

}  // namespace
