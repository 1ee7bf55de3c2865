#include "audio/double_voice.hpp"

#include <algorithm>
#include <cmath>

namespace KQ::engines {

DoubleVoiceMixer::DoubleVoiceMixer(int samplingRate, const DoubleVoice& copy)
    : shifter(samplingRate, copy.pitch),
      level(copy.level),
      second(static_cast<std::size_t>(std::lround(double{copy.delay} * samplingRate))) {}

void DoubleVoiceMixer::process(const AudioBlock& in, AudioBlock& out) {
  voice.insert(voice.end(), in.begin(), in.end());
  shifter.process(in, second);
  mix(out);
}

void DoubleVoiceMixer::finish(AudioBlock& out) {
  shifter.finish(second);
  voice.resize(second.size());
  mix(out);
}

void DoubleVoiceMixer::mix(AudioBlock& out) {
  const auto count = static_cast<std::ptrdiff_t>(std::min(voice.size(), second.size()));
  std::transform(voice.begin(), voice.begin() + count, second.begin(), std::back_inserter(out),
                 [this](float first, float copy) { return first + level * copy; });
  voice.erase(voice.begin(), voice.begin() + count);
  second.erase(second.begin(), second.begin() + count);
}

}  // namespace KQ::engines
