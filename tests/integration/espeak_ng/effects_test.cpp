#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>
#include <kqtts/tts_preference.hpp>

#include "espeak_engine.hpp"
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
constexpr int samplingRate = 22050;

/// Writes effects and derived voices for a test.
class EffectsOfEspeak : public ::testing::Test {
 protected:
  Samples spokenWithEffect(const std::string& settings) {
    return spoken(pangram, [&](KQ::TextToSpeechEngine& engine) {
      engine.loadEffect(folder.write("effect.xml", settingsFile(settings)));
      engine.applyEffect("effect", true);
    });
  }

  /// The samples of a voice that is derived from the usual one.
  Samples spokenWithVoice(const std::string& settings) {
    boost::filesystem::create_directories(folder.path() / "voices/derived");
    folder.write("manifest.xml",
                 settingsFile(setting("version", "1.0") + setting("engine", "espeak-ng") +
                              setting("language", "English")));
    folder.write("voices/derived/voice.xml", settingsFile(setting("sourceVoice", "en-us")));
    folder.write("voices/derived/voiceSettings.xml", settingsFile(settings));
    FreshEngine speaking({{"", "", folder.path().string()}});
    speaking->startSynthetizer(pangram);
    return speaking.host.samples();
  }

  test::TempFolder folder;
  const Samples plain = spoken(pangram);
};

TEST_F(EffectsOfEspeak, DerivedVoiceWithoutPreferencesIsItsSource) {
  EXPECT_EQ(spokenWithVoice(""), plain);
}

TEST_F(EffectsOfEspeak, DoubleVoiceOfADerivedVoiceHasLevelDelayAndPitch) {
  const Samples copy = difference(plain, spokenWithVoice(doubleVoice("1.5", "0.5", "0.3")));
  EXPECT_EQ(copy.size(), plain.size() + static_cast<std::size_t>(std::lround(samplingRate * 0.3)));
  EXPECT_NEAR(test::delayBetween(plain, copy, samplingRate), samplingRate * 0.3,
              samplingRate * 0.03);
  EXPECT_NEAR(test::level(copy) / test::level(plain), 0.5, 0.06);
  EXPECT_NEAR(test::pitch(copy, samplingRate) / test::pitch(plain, samplingRate), 1.5, 0.1);
}

TEST_F(EffectsOfEspeak, DoubleVoiceOfAnEffectIsThatOfAVoice) {
  const std::string settings = doubleVoice("1.5", "0.5", "0.1");
  EXPECT_EQ(spokenWithEffect(settings), spokenWithVoice(settings));
}

struct PitchRow {
  const char* voice;  ///< a voice whose shifted pitch can be measured
  const char* value;
  double factor;
};

class EspeakPitch : public EffectsOfEspeak, public ::testing::WithParamInterface<PitchRow> {};

TEST_P(EspeakPitch, IsReachedBeyondTheSynthesisersRange) {
  const auto shiftedBy = [&](const char* factor) {
    return spoken(pangram, [&](KQ::TextToSpeechEngine& engine) {
      engine.setCurrentVoice(GetParam().voice);
      engine.loadEffect(folder.write("effect.xml", settingsFile(setting("pitchShift", factor))));
      engine.applyEffect("effect", true);
    });
  };
  const Samples normal = shiftedBy("1");
  const Samples shifted = shiftedBy(GetParam().value);
  EXPECT_NEAR(test::pitch(shifted, samplingRate) / test::pitch(normal, samplingRate),
              GetParam().factor, GetParam().factor * 0.06);
  EXPECT_NEAR(test::length(shifted), test::length(normal), test::length(normal) * 0.02);
}

INSTANTIATE_TEST_SUITE_P(Factors, EspeakPitch,
                         ::testing::Values(PitchRow{"english-female", "0.5", 0.5},
                                           PitchRow{"english-female", "0.75", 0.75},
                                           PitchRow{"english-male", "1.6", 1.6},
                                           PitchRow{"english-male", "2", 2}),
                         [](const auto& row) { return "By" + std::to_string(row.index); });

TEST_F(EffectsOfEspeak, ARobotsPreferencesAreAnEffect) {
  KQValue preferences = KQValue::array();
  for (const auto& [name, value] :
       {std::pair("doubleVoice", 1.5F), std::pair("doubleVoiceLevel", 0.5F),
        std::pair("doubleVoiceTimeShift", 0.1F)}) {
    preferences.push_back(KQValue::array({name, "", value}));
  }
  std::string file = (folder.path() / "robot.xml").string();
  ASSERT_TRUE(
      KQ::writeVoiceSettingInXml(file, KQ::makeVoiceSettingFromSysXml(preferences, "en-us")));
  const Samples robot = spoken(pangram, [&](KQ::TextToSpeechEngine& engine) {
    engine.loadEffect(file);
    engine.applyEffect("robot", true);
  });
  EXPECT_EQ(robot, spokenWithVoice(doubleVoice("1.5", "0.5", "0.1")));
}

TEST(ShippedVoices, FrenchRobotIsADoubleVoice) {
  const auto frenchBy = [](const char* voice) {
    return spoken("Bonjour, je suis un robot",
                  [&](KQ::TextToSpeechEngine& engine) { engine.setCurrentVoice(voice); });
  };
  const Samples robot = frenchBy("french-robot");
  EXPECT_GT(test::level(robot), 500);
  EXPECT_NE(robot, frenchBy("french-male"));
}

}  // namespace
