#pragma once

#include <cstdint>

namespace KQ {

/// How often fork() led to this process, plus one. A child of fork() has its parent's memory but none
/// of its threads, so that whatever those threads work for or have locked is lost to it. Never 0.
std::uint64_t forkGeneration();

}  // namespace KQ
