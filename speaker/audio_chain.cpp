#include "audio_chain.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "resampler.hpp"
#include "voice_level.hpp"

namespace KQ::speaking {

namespace {

/// Below this, 54 dB under the highest sample, nothing is heard.
constexpr int audible = 64;

constexpr int loudest = 32767;

/// How much silence is left where two voices meet, in seconds: a short pause within a phrase.
constexpr double pauseAtSeam = 0.02;

/// Over how much of the audio a seam is faded, in seconds.
constexpr double fade = 0.003;

/// A voice is measured over so much of its first segment, in seconds.
constexpr std::size_t preludeSeconds = 2;

/// A gain stays within this, in decibels.
constexpr double mostGain = 15;

bool isAudible(std::int16_t sample) {
  return std::abs(static_cast<int>(sample)) >= audible;
}

}  // namespace

AudioChain::AudioChain(const Plan& chainPlan)
    : plan(chainPlan),
      gain(chainPlan.volume),
      isGainKnown(chainPlan.model == nullptr || chainPlan.level == nullptr),
      isAtBegin(chainPlan.joinsPrevious) {
  if (plan.inputRate != plan.outputRate) {
    resampler = std::make_unique<Resampler>(plan.inputRate, plan.outputRate);
  }
  if (!isGainKnown && plan.level->isWellKnown()) {
    decideGain();
  }
}

AudioChain::~AudioChain() = default;

bool AudioChain::passesThrough() const {
  return !resampler && isGainKnown && gain == 1 && !plan.joinsPrevious && !plan.joinsNext;
}

void AudioChain::hear(const std::int16_t* samples, std::size_t count) {
  if (plan.level != nullptr) {
    plan.level->hear(samples, count);
  }
}

void AudioChain::process(const std::int16_t* samples, std::size_t count, Samples& ready) {
  hear(samples, count);
  if (resampler) {
    Samples block;
    resampler->process(samples, count, block);
    afterRate(block.data(), block.size(), ready);
  } else {
    afterRate(samples, count, ready);
  }
}

void AudioChain::afterRate(const std::int16_t* samples, std::size_t count, Samples& ready) {
  if (isGainKnown) {
    Samples block(samples, samples + count);
    afterLevel(block, ready);
    return;
  }
  prelude.insert(prelude.end(), samples, samples + count);
  if (prelude.size() >= preludeSeconds * static_cast<std::size_t>(plan.outputRate)) {
    decideGain();
    Samples block;
    block.swap(prelude);
    afterLevel(block, ready);
  }
}

void AudioChain::decideGain() {
  isGainKnown = true;
  const auto own = plan.level->loudness();
  const auto wanted = plan.model->loudness();
  if (!own || !wanted) {
    return;
  }
  const double decibels = std::clamp(*wanted - *own, -mostGain, mostGain);
  gain = plan.volume * static_cast<float>(std::pow(10.0, decibels / 20));
  int peak = 1;
  for (const std::int16_t sample : prelude) {
    peak = std::max(peak, std::abs(static_cast<int>(sample)));
  }
  gain =
      std::min(gain, std::max(plan.volume, static_cast<float>(loudest) / static_cast<float>(peak)));
}

void AudioChain::applyGain(Samples& block) const {
  for (std::int16_t& sample : block) {
    const float louder = std::nearbyint(static_cast<float>(sample) * gain);
    sample = static_cast<std::int16_t>(
        std::clamp(louder, static_cast<float>(-loudest), static_cast<float>(loudest)));
  }
}

void AudioChain::afterLevel(Samples& block, Samples& ready) {
  if (gain != 1) {
    applyGain(block);
  }
  if (!plan.joinsPrevious && !plan.joinsNext) {
    ready.insert(ready.end(), block.begin(), block.end());
    return;
  }
  trim(block, ready);
}

void AudioChain::trim(const Samples& block, Samples& ready) {
  auto next = block.begin();
  if (isAtBegin) {
    next = std::find_if(block.begin(), block.end(), isAudible);
    trimmed += static_cast<std::size_t>(next - block.begin());
    if (next == block.end()) {
      return;
    }
    isAtBegin = false;
    const auto rate = static_cast<double>(plan.outputRate);
    const std::size_t pause = std::min(trimmed, static_cast<std::size_t>(pauseAtSeam * rate));
    ready.insert(ready.end(), pause, 0);
    trimmed -= pause;
  }
  auto last = block.end();
  if (plan.joinsNext) {
    while (last != next && !isAudible(*(last - 1))) {
      --last;
    }
  }
  if (last != next) {
    ready.insert(ready.end(), silence.begin(), silence.end());
    ready.insert(ready.end(), next, last);
    silence.clear();
  }
  silence.insert(silence.end(), last, block.end());
}

void AudioChain::finish(Samples& ready) {
  if (resampler) {
    Samples block;
    resampler->finish(block);
    afterRate(block.data(), block.size(), ready);
  }
  if (!isGainKnown) {
    decideGain();
    Samples block;
    block.swap(prelude);
    afterLevel(block, ready);
  }
  const auto kept = static_cast<std::size_t>(fade * static_cast<double>(plan.outputRate));
  const std::size_t rest = std::min(kept, silence.size());
  for (std::size_t i = 0; i < rest; ++i) {  // what is below hearing ends at 0
    const auto left = static_cast<double>(rest - i) / static_cast<double>(rest + 1);
    ready.push_back(static_cast<std::int16_t>(silence[i] * left));
  }
}

std::uint64_t AudioChain::placeOf(std::uint64_t engineSample) const {
  const std::uint64_t place = plan.inputRate == plan.outputRate
                                  ? engineSample
                                  : engineSample * static_cast<std::uint64_t>(plan.outputRate) /
                                        static_cast<std::uint64_t>(plan.inputRate);
  return place - std::min<std::uint64_t>(place, trimmed);
}

}  // namespace KQ::speaking
