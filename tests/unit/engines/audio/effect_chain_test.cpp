#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "audio/audio_effects.hpp"
#include "support/audio.hpp"

namespace {

using KQ::engines::AudioEffects;
using KQ::engines::DoubleVoice;
using KQ::engines::EffectChain;
using test::Samples;

constexpr int rate = 22050;
constexpr std::size_t second = rate;

AudioEffects pitchOf(float factor) {
  return {factor, {}, false};
}

AudioEffects doubleVoice(const DoubleVoice& copy) {
  return {1, {copy}, false};
}

const AudioEffects highPass{1, {}, true};

Samples changed(const AudioEffects& effects, const Samples& samples, std::size_t blockSize = 441) {
  EffectChain chain(effects, rate);
  Samples all;
  for (std::size_t i = 0; i < samples.size(); i += blockSize) {
    const auto& ready = chain.process(samples.data() + i, std::min(blockSize, samples.size() - i));
    all.insert(all.end(), ready.begin(), ready.end());
  }
  const auto& rest = chain.finish();
  all.insert(all.end(), rest.begin(), rest.end());
  return all;
}

/// A tone with a quarter of a second of silence on both sides.
Samples burst(double frequency) {
  Samples samples(second / 4);
  const Samples sound = test::tone(frequency, second / 2, rate);
  samples.insert(samples.end(), sound.begin(), sound.end());
  samples.resize(samples.size() + second / 4);
  return samples;
}

std::size_t firstLoud(const Samples& samples) {
  const auto loud = std::find_if(samples.begin(), samples.end(),
                                 [](std::int16_t sample) { return sample > 4000; });
  return static_cast<std::size_t>(loud - samples.begin());
}

/// The middle of the tone, without the transients of the effects at its ends.
Samples middleOf(const Samples& samples) {
  return {samples.begin() + second / 4, samples.end() - second / 4};
}

class PitchFactor : public ::testing::TestWithParam<float> {};

TEST_P(PitchFactor, MovesTheFrequencyByIt) {
  const Samples shifted = middleOf(changed(pitchOf(GetParam()), test::tone(300, 2 * second, rate)));
  const double expected = 300.0 * GetParam();
  EXPECT_GT(test::amplitudeAt(shifted, expected, rate), 4000);
  EXPECT_LT(test::amplitudeAt(shifted, 300, rate), 800);
}

TEST_P(PitchFactor, KeepsTheLength) {
  const Samples samples = burst(300);
  EXPECT_EQ(changed(pitchOf(GetParam()), samples).size(), samples.size());
}

TEST_P(PitchFactor, KeepsThePlaceWithinThirtyMilliseconds) {
  const Samples samples = burst(300);
  const double place = static_cast<double>(firstLoud(changed(pitchOf(GetParam()), samples)));
  EXPECT_NEAR(place, static_cast<double>(firstLoud(samples)), rate * 0.030);
}

INSTANTIATE_TEST_SUITE_P(Factors, PitchFactor, ::testing::Values(0.25F, 0.5F, 0.8F, 1.25F, 2, 4));

TEST(EffectChain, ResultDoesNotDependOnTheBlocks) {
  const AudioEffects all{1.3F, {{1.5F, 0.5F, 0.05F}}, true};
  const Samples samples = burst(300);
  EXPECT_EQ(changed(all, samples, 1), changed(all, samples, 100000));
}

TEST(EffectChain, GivesTheFirstAudioSoon) {
  EffectChain chain(pitchOf(1.5F), rate);
  const Samples samples = test::tone(300, second, rate);
  std::size_t taken = 0;
  while (chain.process(samples.data() + taken, 441).empty()) {
    taken += 441;
  }
  EXPECT_LT(taken, rate / 5);
}

TEST(EffectChain, LoudSumsAreLimited) {
  const Samples loud = test::tone(300, second, rate, 32767);
  const Samples mixed = changed(doubleVoice({1.5F, 4, 0}), loud);
  EXPECT_EQ(*std::max_element(mixed.begin(), mixed.end()), 32767);
  EXPECT_EQ(*std::min_element(mixed.begin(), mixed.end()), -32768);
}

TEST(EffectChain, NothingGivesNothing) {
  EXPECT_TRUE(changed({1.5F, {{1.5F, 1, 0}}, true}, {}).empty());
}

TEST(EffectChain, SilenceStaysSilent) {
  const Samples silence(second);
  EXPECT_EQ(changed({1.5F, {{1.5F, 1, 0}}, true}, silence), silence);
}

TEST(EffectChain, DoubleVoiceKeepsTheVoice) {
  const Samples mixed =
      middleOf(changed(doubleVoice({1.5F, 0.5F, 0}), test::tone(300, 2 * second, rate)));
  EXPECT_NEAR(test::amplitudeAt(mixed, 300, rate), 8000, 200);
}

TEST(EffectChain, DoubleVoicesCopyHasItsPitchAndLevel) {
  const Samples tone = test::tone(300, 2 * second, rate);
  const double full =
      test::amplitudeAt(middleOf(changed(doubleVoice({1.5F, 1, 0}), tone)), 450, rate);
  const double half =
      test::amplitudeAt(middleOf(changed(doubleVoice({1.5F, 0.5F, 0}), tone)), 450, rate);
  EXPECT_NEAR(full, 8000, 800);
  EXPECT_NEAR(half, full / 2, 100);
}

TEST(EffectChain, DoubleVoicesCopyComesLater) {
  const Samples samples = burst(300);
  const auto copyAlone = [&](float delay) {
    Samples mixed = changed(doubleVoice({1.5F, 1, delay}), samples);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      mixed[i] = static_cast<std::int16_t>(mixed[i] - samples[i]);
    }
    return mixed;
  };
  const double later = static_cast<double>(firstLoud(copyAlone(0.2F))) -
                       static_cast<double>(firstLoud(copyAlone(0)));
  EXPECT_NEAR(later, rate * 0.2, 1);
}

TEST(EffectChain, DoubleVoicesCopyIsHeardToItsEnd) {
  const Samples samples = test::tone(300, second, rate);
  const Samples mixed = changed(doubleVoice({1.5F, 1, 0.25F}), samples);
  ASSERT_EQ(mixed.size(), samples.size() + static_cast<std::size_t>(std::lround(rate * 0.25)));
  const Samples tail(mixed.end() - rate / 5, mixed.end());
  EXPECT_GT(test::amplitudeAt(tail, 450, rate), 4000);
}

TEST(EffectChain, DoubleVoicesAddUp) {
  const Samples mixed = middleOf(
      changed({1, {{1.5F, 0.5F, 0}, {2, 0.5F, 0}}, false}, test::tone(300, 2 * second, rate)));
  EXPECT_GT(test::amplitudeAt(mixed, 450, rate), 2500);
  EXPECT_GT(test::amplitudeAt(mixed, 600, rate), 2500);
}

struct GainRow {
  const char* name;
  double frequency;
  double decibels;
};

// 1 / sqrt(1 + (200 / f)^8)
const GainRow gains[] = {{"OctaveBelow", 100, -24.1}, {"TwoThirds", 133.333, -14.3},
                         {"CutOff", 200, -3.01},      {"OctaveAbove", 400, -0.02},
                         {"Speech", 1000, 0},         {"Highest", 8000, 0}};

class HighPassGain : public ::testing::TestWithParam<GainRow> {};

TEST_P(HighPassGain, IsThatOfFourthOrderButterworth) {
  const Samples filtered =
      middleOf(changed(highPass, test::tone(GetParam().frequency, 2 * second, rate, 16000)));
  const double gain = test::amplitudeAt(filtered, GetParam().frequency, rate) / 16000;
  EXPECT_NEAR(20 * std::log10(gain), GetParam().decibels, 0.15);
}

INSTANTIATE_TEST_SUITE_P(Table, HighPassGain, ::testing::ValuesIn(gains),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(EffectChain, HighPassRemovesAnOffset) {
  const Samples offset(second, 5000);
  const Samples filtered = changed(highPass, offset);
  ASSERT_EQ(filtered.size(), offset.size());
  EXPECT_EQ(filtered.back(), 0);
}

}  // namespace
