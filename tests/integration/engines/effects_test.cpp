#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "engines/speaking_engine.hpp"
#include "support/settings_file.hpp"
#include "support/temp_folder.hpp"

namespace {

using test::difference;
using test::doubleVoice;
using test::FreshEngine;
using test::Samples;
using test::setting;
using test::settingsFile;
using test::spoken;

constexpr const char* pangram = "The quick brown fox jumps over the lazy dog";

/// Writes effects for a test.
class Effects : public ::testing::Test {
 protected:
  std::string effectFile(const std::string& settings) const {
    return folder.write("effect.xml", settingsFile(settings)).string();
  }

  Samples spokenWithEffect(const std::string& settings) const {
    return spoken(pangram, [&](KQ::TextToSpeechEngine& engine) {
      engine.loadEffect(effectFile(settings));
      engine.applyEffect("effect", true);
    });
  }

  test::TempFolder folder;
  const int samplingRate = test::engineUnderTest().samplingRate;
  const Samples plain = spoken(pangram);
};

TEST_F(Effects, DoubleVoiceHasLevelDelayAndPitch) {
  const Samples copy = difference(plain, spokenWithEffect(doubleVoice("1.5", "0.5", "0.3")));
  EXPECT_EQ(copy.size(), plain.size() + static_cast<std::size_t>(std::lround(samplingRate * 0.3)));
  EXPECT_NEAR(test::delayBetween(plain, copy, samplingRate), samplingRate * 0.3,
              samplingRate * 0.03);
  EXPECT_NEAR(test::level(copy) / test::level(plain), 0.5, 0.06);
  EXPECT_NEAR(test::pitch(copy, samplingRate) / test::pitch(plain, samplingRate), 1.5, 0.15);
}

TEST_F(Effects, EffectsMultiplyWithTheVoiceAndTheParameters) {
  FreshEngine speaking;
  speaking->setParameter("voiceLevel", 0.5F);
  speaking->loadEffect(folder.write("half.xml", settingsFile(setting("voiceLevel", "0.5"))));
  speaking->applyEffect("half", true);
  speaking->startSynthetizer(pangram);
  EXPECT_NEAR(test::level(speaking.host.samples()) / test::level(plain), 0.25, 0.025);
}

TEST_F(Effects, SpeedOfAnEffectIsPercent) {
  const Samples fast = spokenWithEffect(setting("defaultVoiceSpeed", "200"));
  EXPECT_NEAR(test::length(fast) / test::length(plain), 0.5, 0.05);
}

TEST_F(Effects, SwitchedOffTheyChangeNothing) {
  const Samples again = spoken(pangram, [&](KQ::TextToSpeechEngine& engine) {
    engine.loadEffect(effectFile(doubleVoice("1.5", "1", "0.1")));
    engine.applyEffect("effect", true);
    engine.enableFilter(true);
    engine.applyEffect("effect", false);
    engine.enableFilter(false);
  });
  EXPECT_EQ(again, plain);
}

TEST_F(Effects, FilterRemovesOnlyTheLowestPart) {
  const Samples filtered =
      spoken(pangram, [](KQ::TextToSpeechEngine& engine) { engine.enableFilter(true); });
  ASSERT_EQ(filtered.size(), plain.size());
  const auto power = [this](const Samples& samples, double from, double to) {
    double sum = 0;
    for (double frequency = from; frequency < to; frequency += 5) {
      sum += std::pow(test::amplitudeAt(samples, frequency, samplingRate), 2);
    }
    return sum;
  };
  EXPECT_LT(power(filtered, 20, 100), 0.02 * power(plain, 20, 100));
  EXPECT_NEAR(power(filtered, 500, 1000), power(plain, 500, 1000), 0.02 * power(plain, 500, 1000));
}

TEST_F(Effects, MarksStayAtTheirPlaces) {
  const auto position = [&](bool isChanged) {
    FreshEngine speaking;
    speaking->loadEffect(effectFile(doubleVoice("1.5", "1", "0.1")));
    speaking->applyEffect("effect", isChanged);
    speaking->startSynthetizer("One \\mrk=1\\ two \\Pau=500\\ three");
    return speaking.host.events(test::SpeechEvent::Kind::mark).at(0).word.samplePosition;
  };
  EXPECT_EQ(position(true), position(false));
}

TEST_F(Effects, WordsComeBeforeTheirAudio) {
  FreshEngine speaking;
  speaking->loadEffect(effectFile(setting("pitchShift", "2")));
  speaking->applyEffect("effect", true);
  speaking->startSynthetizer(pangram);
  std::uint64_t heard = 0;
  std::vector<std::string> late;
  for (const test::SpeechEvent& event : speaking.host.events()) {
    heard += event.count;
    if (event.kind == test::SpeechEvent::Kind::word && event.word.samplePosition < heard) {
      late.push_back(std::string(pangram).substr(event.word.textOffset, event.word.textLength));
    }
  }
  EXPECT_THAT(late, ::testing::IsEmpty());
  EXPECT_EQ(speaking.host.words(pangram).size(), 9U);
}

TEST_F(Effects, DoubleVoiceWithoutLevelIsNotHeard) {
  EXPECT_EQ(spokenWithEffect(doubleVoice("1.5", "0", "0.1")), plain);
}

}  // namespace
