#include "resampler.hpp"

#include <soxr.h>

#include <kq/error.hpp>

namespace KQ::speaking {

struct Resampler::Filter {
  Filter(int inputRate, int outputRate) {
    const soxr_io_spec_t format = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    soxr_error_t error = nullptr;
    handle = soxr_create(inputRate, outputRate, 1, &error, &format, &quality, nullptr);
    if (handle == nullptr || error != nullptr) {
      throw KQError("Speaker", "speak", "Audio of this sampling rate cannot be resampled.", nullptr,
                    0);
    }
  }
  ~Filter() { soxr_delete(handle); }
  Filter(const Filter&) = delete;
  Filter& operator=(const Filter&) = delete;

  soxr_t handle = nullptr;
};

Resampler::Resampler(int inputRate, int outputRate)
    : ratio(static_cast<double>(outputRate) / inputRate),
      filter(std::make_unique<Filter>(inputRate, outputRate)) {}

Resampler::~Resampler() = default;

void Resampler::process(const std::int16_t* samples, std::size_t count,
                        std::vector<std::int16_t>& ready) {
  constexpr std::size_t more = 64;
  const std::size_t before = ready.size();
  std::size_t done = 0;
  ready.resize(before + static_cast<std::size_t>(static_cast<double>(count) * ratio) + more);
  // All of the input is taken: what does not fit is kept inside until the next time.
  soxr_process(filter->handle, samples, count, nullptr, ready.data() + before,
               ready.size() - before, &done);
  ready.resize(before + done);
}

void Resampler::finish(std::vector<std::int16_t>& ready) {
  constexpr std::size_t block = 4096;
  for (std::size_t done = block; done == block;) {
    const std::size_t before = ready.size();
    ready.resize(before + block);
    soxr_process(filter->handle, nullptr, 0, nullptr, ready.data() + before, block, &done);
    ready.resize(before + done);
  }
}

}  // namespace KQ::speaking
