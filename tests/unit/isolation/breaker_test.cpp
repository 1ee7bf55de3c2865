#include "isolation/host/breaker.hpp"

#include <gtest/gtest.h>

namespace {

using KQ::isolation::Breaker;
using std::chrono::seconds;

/// A breaker after some deaths, and its clock.
struct Death {
  explicit Death(int deaths) {
    for (int i = 0; i < deaths; ++i) {
      breaker.noteDeath(now);
    }
  }

  const Breaker::Time now{seconds(1000)};
  Breaker breaker;
};

TEST(Breaker, IsClosedAfterFourDeaths) {
  const Death death(4);
  EXPECT_FALSE(death.breaker.isOpen(death.now));
}

TEST(Breaker, IsOpenForASecondAfterFiveDeaths) {
  const Death death(5);
  EXPECT_TRUE(death.breaker.isOpen(death.now));
  EXPECT_TRUE(death.breaker.isOpen(death.now + std::chrono::milliseconds(999)));
  EXPECT_FALSE(death.breaker.isOpen(death.now + seconds(1)));
}

TEST(Breaker, StaysOpenTwiceAsLongAfterEachFurtherDeath) {
  EXPECT_EQ(Death(6).breaker.nextTry() - Death(0).now, seconds(2));
  EXPECT_EQ(Death(7).breaker.nextTry() - Death(0).now, seconds(4));
}

TEST(Breaker, StaysOpenForThirtySecondsAtMost) {
  EXPECT_EQ(Death(30).breaker.nextTry() - Death(0).now, seconds(30));
}

TEST(Breaker, BeginsAnewAfterASentence) {
  Death death(7);
  death.breaker.noteSentence();
  EXPECT_FALSE(death.breaker.isOpen(death.now));
  for (int i = 0; i < 5; ++i) {
    death.breaker.noteDeath(death.now);
  }
  EXPECT_EQ(death.breaker.nextTry() - death.now, seconds(1));
}

}  // namespace
