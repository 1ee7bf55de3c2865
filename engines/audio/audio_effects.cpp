#include "audio/audio_effects.hpp"

#include <algorithm>
#include <cmath>

#include "audio/double_voice.hpp"
#include "audio/high_pass.hpp"
#include "audio/pitch_shifter.hpp"

namespace KQ::engines {

namespace {

constexpr float fullScale = 32768;

}  // namespace

EffectChain::EffectChain(const AudioEffects& effects, int samplingRate) {
  if (effects.pitch != 1) {
    stages.push_back(std::make_unique<PitchShifter>(samplingRate, effects.pitch));
  }
  for (const DoubleVoice& copy : effects.doubleVoices) {
    stages.push_back(std::make_unique<DoubleVoiceMixer>(samplingRate, copy));
  }
  if (effects.highPass) {
    stages.push_back(std::make_unique<HighPass>(samplingRate));
  }
}

const std::vector<std::int16_t>& EffectChain::process(const std::int16_t* samples,
                                                      std::size_t count) {
  block.resize(count);
  std::transform(samples, samples + count, block.begin(),
                 [](std::int16_t sample) { return static_cast<float>(sample) / fullScale; });
  for (const auto& stage : stages) {
    passThrough(*stage, false);
  }
  return toSamples();
}

const std::vector<std::int16_t>& EffectChain::finish() {
  block.clear();
  for (const auto& stage : stages) {
    passThrough(*stage, true);
  }
  return toSamples();
}

void EffectChain::passThrough(AudioStage& stage, bool isLast) {
  changed.clear();
  stage.process(block, changed);
  if (isLast) {
    stage.finish(changed);
  }
  block.swap(changed);
}

const std::vector<std::int16_t>& EffectChain::toSamples() {
  result.resize(block.size());
  std::transform(block.begin(), block.end(), result.begin(), [](float sample) {
    const float scaled = std::clamp(std::round(sample * fullScale), -fullScale, fullScale - 1);
    return static_cast<std::int16_t>(scaled);
  });
  return result;
}

}  // namespace KQ::engines
