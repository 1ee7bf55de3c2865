#include "fork_generation.hpp"

#include <pthread.h>

#include <atomic>

namespace KQ {

namespace {

std::atomic<std::uint64_t> generation{1};

[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, [] { ++generation; });

}  // namespace

std::uint64_t forkGeneration() {
  return generation.load(std::memory_order_relaxed);
}

}  // namespace KQ
