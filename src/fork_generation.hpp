#pragma once

#include <cstdint>

namespace KQ {

/// The number of forks that led to this process, plus one; so never 0. A child of fork() has the
/// memory of its parent but none of its threads: locks that they held are never released, and work
/// that they had begun never ends.
std::uint64_t forkGeneration();

}  // namespace KQ
