#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace KQ::speaking {

/// Gives a stream of audio another sampling rate; sample k of one is at the time of sample k *
/// ratio of the other.
class Resampler {
 public:
  /// \throws KQError where the rates cannot be had
  Resampler(int inputRate, int outputRate);
  ~Resampler();
  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;

  /// Takes audio and appends what is ready.
  void process(const std::int16_t* samples, std::size_t count, std::vector<std::int16_t>& ready);

  /// Appends what is left.
  void finish(std::vector<std::int16_t>& ready);

 private:
  struct Filter;

  double ratio;
  std::unique_ptr<Filter> filter;
};

}  // namespace KQ::speaking
