#include "say/guarded_sink.hpp"

#include <utility>

namespace tool {

namespace {

/// Named in a file without audio, if the engine was not asked for its own.
constexpr int usualSamplingRate = 22050;

}  // namespace

GuardedSink::GuardedSink(std::unique_ptr<AudioSink> guarded)
    : sink(std::move(guarded)), rate(usualSamplingRate) {}

void GuardedSink::write(const std::int16_t* samples, std::size_t count, int samplingRate) {
  const std::lock_guard<std::timed_mutex> lock(mutex);
  if (ended) {
    return;
  }
  ended = true;  // if the sink throws
  sink->write(samples, count, samplingRate);
  rate = samplingRate;
  ended = false;
}

void GuardedSink::finish(int samplingRate) {
  const std::lock_guard<std::timed_mutex> lock(mutex);
  if (!std::exchange(ended, true)) {
    sink->finish(samplingRate);
  }
}

void GuardedSink::cutShort(int samplingRate) {
  const std::lock_guard<std::timed_mutex> lock(mutex);
  if (!std::exchange(ended, true)) {
    sink->cutShort(samplingRate);
  }
}

void GuardedSink::abandon(std::chrono::milliseconds patience) noexcept {
  const std::unique_lock<std::timed_mutex> lock(mutex, patience);
  if (!lock || std::exchange(ended, true)) {
    return;
  }
  try {
    sink->cutShort(rate);
  } catch (const std::exception&) {
    // The file is incomplete, so it does not appear.
  }
}

}  // namespace tool
