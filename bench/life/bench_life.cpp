// Compares the memory of an engine after many utterances, or many initialisations, with the memory
// after a few. Each figure comes from its own process, so that no growth hides in memory that an
// earlier measurement freed.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <zu/log.hpp>
#include <zu/path.hpp>

#include "life/engine_life.hpp"

namespace {

using bench::Growth;
using bench::LivingEngine;

struct Row {
  const char* name;
  Growth (*measure)(const LivingEngine& engine, int early, int late);
  int early;
  int late;
};

const std::array<Row, 2> rows{{{"utterances", bench::growthOverUtterances, 100, 10000},
                               {"initialize and terminate", bench::growthOverLives, 100, 1000}}};

/// Growth up to this factor counts as none.
constexpr double limit = 1.01;

/// \return whether the memory stayed within the limit
bool printGrowth(const LivingEngine& engine, const Row& row) {
  const Growth growth = row.measure(engine, row.early, row.late);
  const double allocated = growth.late.allocated / growth.early.allocated;
  const double resident = growth.late.resident / growth.early.resident;
  std::printf("| %s | %s | %d | %d | %.1f | %.1f | %.4f | %.1f | %.1f | %.4f |\n",
              engine.plugin.c_str(), row.name, row.early, row.late, growth.early.allocated / 1024,
              growth.late.allocated / 1024, allocated, growth.early.resident / 1024,
              growth.late.resident / 1024, resident);
  std::fflush(stdout);
  return allocated <= limit && resident <= limit;
}

bool growsInProcessOfItsOwn(const LivingEngine& engine, const Row& row) {
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child == 0) {
    try {
      ::_exit(printGrowth(engine, row) ? 0 : 1);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      ::_exit(2);
    }
  }
  int status = 0;
  return child < 0 || ::waitpid(child, &status, 0) != child || status != 0;
}

/// Starts the program again without the allocator's thread caches: freed memory in them counts as
/// allocated.
void runWithoutCaches(char** arguments) {
  constexpr const char* name = "GLIBC_TUNABLES";
  if (::getenv(name) == nullptr) {
    ::setenv(name, "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1", 1);
    ::execv("/proc/self/exe", arguments);
  }
}

}  // namespace

int main(int /*count*/, char** arguments) {
  runWithoutCaches(arguments);
  zu::log::setLevel(zu::log::Level::error);
  zu::path::addLibDir(BUILT_LIBRARIES);
  std::printf(
      "| plug-in | what | early | late | allocated early, KiB | late | ratio | resident early, KiB "
      "| late | ratio |\n|---|---|---:|---:|---:|---:|---:|---:|---:|---:|\n");
  bool isMissed = false;
  for (const LivingEngine& engine : bench::livingEngines(BUILT_DATA)) {
    for (const Row& row : rows) {
      isMissed = growsInProcessOfItsOwn(engine, row) || isMissed;
    }
  }
  std::puts(isMissed ? "\nMissed: a ratio is above 1.01" : "\nEach ratio is at most 1.01");
  return isMissed ? 1 : 0;
}
