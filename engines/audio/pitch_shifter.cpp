#include "audio/pitch_shifter.hpp"

#include <soundtouch/SoundTouch.h>

#include <algorithm>
#include <type_traits>

namespace KQ::engines {

static_assert(std::is_same_v<soundtouch::SAMPLETYPE, AudioBlock::value_type>);

PitchShifter::PitchShifter(int samplingRate, float factor)
    : shifter(std::make_unique<soundtouch::SoundTouch>()) {
  shifter->setSampleRate(static_cast<unsigned>(samplingRate));
  shifter->setChannels(1);
  // SoundTouch's own figures for speech.
  shifter->setSetting(SETTING_SEQUENCE_MS, 40);
  shifter->setSetting(SETTING_SEEKWINDOW_MS, 15);
  shifter->setSetting(SETTING_OVERLAP_MS, 8);
  shifter->setPitch(factor);
}

PitchShifter::~PitchShifter() = default;

void PitchShifter::process(const AudioBlock& in, AudioBlock& out) {
  taken += in.size();
  shifter->putSamples(in.data(), static_cast<unsigned>(in.size()));
  receive(out);
}

void PitchShifter::finish(AudioBlock& out) {
  shifter->flush();
  receive(out);
  out.resize(out.size() + (taken - given));
  given = taken;
}

void PitchShifter::receive(AudioBlock& out) {
  const std::uint64_t ready = std::min<std::uint64_t>(shifter->numSamples(), taken - given);
  const std::size_t before = out.size();
  out.resize(before + ready);
  shifter->receiveSamples(out.data() + before, static_cast<unsigned>(ready));
  given += ready;
}

}  // namespace KQ::engines
