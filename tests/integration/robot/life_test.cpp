#include <gtest/gtest.h>

#include <zu/path.hpp>

#include "life/engine_life.hpp"

namespace {

using bench::Growth;
using bench::LivingEngine;

/// Returns by how many bytes the memory grows in each round between the early and the late one.
double gainedEachTime(Growth (*measure)(const LivingEngine& engine, int early, int late),
                      const LivingEngine& engine, int early, int late) {
  const Growth growth = measure(engine, early, late);
  return (growth.late.allocated - growth.early.allocated) / (late - early);
}

class EngineLife : public ::testing::TestWithParam<LivingEngine> {
 protected:
  EngineLife() { zu::path::addLibDir(BUILT_LIBRARIES); }
};

TEST_P(EngineLife, KeepsNoMemoryAfterUtterances) {
  EXPECT_LT(gainedEachTime(bench::growthOverUtterances, GetParam(), 100, 500), 16);
}

TEST_P(EngineLife, KeepsNoMemoryAfterItsEnd) {
  EXPECT_LT(gainedEachTime(bench::growthOverLives, GetParam(), 10, 50), 100);
}

INSTANTIATE_TEST_SUITE_P(Table, EngineLife, ::testing::ValuesIn(bench::livingEngines(BUILT_DATA)),
                         [](const auto& row) { return row.param.plugin; });

}  // namespace
