#include <gmock/gmock.h>

#include <cmath>
#include <kqtts/tts_preference.hpp>
#include <limits>
#include <type_traits>

namespace {

using KQ::VoiceSetting;
using testing::ElementsAre;
using testing::Pair;

constexpr auto otherType = static_cast<KQ::VOICE_SETTING_TYPE>(2);

VoiceSetting newSetting() {
  return {KQ::VOICE_SETTING_PREFERENCES, "voice1"};
}

TEST(VoiceSettingTest, StartsWithTheSixDefaults) {
  EXPECT_THAT(newSetting().parameters,
              ElementsAre(Pair("defaultVoiceSpeed", 100.0F), Pair("doubleVoice", 0.0F),
                          Pair("doubleVoiceLevel", 0.0F), Pair("doubleVoiceTimeShift", 0.0F),
                          Pair("pitchShift", 0.0F), Pair("voiceLevel", 1.0F)));
}

TEST(VoiceSettingTest, KeepsTypeAndName) {
  const VoiceSetting setting(otherType, "voice1");

  EXPECT_EQ(setting.type, otherType);
  EXPECT_EQ(setting.voiceName, "voice1");
}

TEST(VoiceSettingTest, HasTheSameDefaultsForEveryTypeAndName) {
  EXPECT_EQ(VoiceSetting(otherType, "").parameters, newSetting().parameters);
}

TEST(VoiceSettingTest, TypeIs32BitsWideAndPreferencesAreOne) {
  EXPECT_EQ(sizeof(KQ::VOICE_SETTING_TYPE), 4U);
  EXPECT_EQ(static_cast<int>(KQ::VOICE_SETTING_PREFERENCES), 1);
}

/// Engines are compiled separately, so the order of the fields must not change.
TEST(VoiceSettingTest, TheFieldsKeepTheirOrder) {
  const VoiceSetting setting = newSetting();
  const void* const type = &setting.type;
  const void* const name = &setting.voiceName;
  const void* const parameters = &setting.parameters;

  EXPECT_LT(type, name);
  EXPECT_LT(name, parameters);
}

TEST(VoiceSettingTest, IsAPlainValueThatMovesWithoutThrowing) {
  EXPECT_FALSE(std::is_polymorphic_v<VoiceSetting>);
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<VoiceSetting>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<VoiceSetting>);
}

TEST(VoiceSettingTest, MovesAndAssignsWithAllItsFields) {
  VoiceSetting source(otherType, "voice2");
  source.parameters["foo"] = 2.0F;
  const VoiceSetting copy = source;

  VoiceSetting assigned = newSetting();
  assigned = copy;
  VoiceSetting moved = newSetting();
  moved = std::move(source);

  EXPECT_TRUE(assigned == copy);
  EXPECT_TRUE(moved == copy);
  EXPECT_TRUE(VoiceSetting(std::move(assigned)) == copy);
}

TEST(VoiceSettingEquality, HoldsForTheSameTypeNameAndParameters) {
  EXPECT_TRUE(newSetting() == newSetting());
}

TEST(VoiceSettingEquality, HoldsWithoutParameters) {
  VoiceSetting left = newSetting();
  VoiceSetting right = newSetting();
  left.parameters.clear();
  right.parameters.clear();

  EXPECT_TRUE(left == right);
}

TEST(VoiceSettingEquality, DistinguishesTypes) {
  EXPECT_FALSE(newSetting() == VoiceSetting(otherType, "voice1"));
}

TEST(VoiceSettingEquality, DistinguishesLetterCasesOfTheName) {
  EXPECT_FALSE(newSetting() == VoiceSetting(KQ::VOICE_SETTING_PREFERENCES, "Voice1"));
}

class VoiceSettingParameter : public testing::TestWithParam<std::string> {};

TEST_P(VoiceSettingParameter, DiffersByTheSmallestStep) {
  VoiceSetting changed = newSetting();
  float& value = changed.parameters.at(GetParam());
  value = std::nextafter(value, std::numeric_limits<float>::infinity());

  EXPECT_FALSE(changed == newSetting());
}

INSTANTIATE_TEST_SUITE_P(Defaults, VoiceSettingParameter,
                         testing::Values("defaultVoiceSpeed", "doubleVoice", "doubleVoiceLevel",
                                         "doubleVoiceTimeShift", "pitchShift", "voiceLevel"));

TEST(VoiceSettingEquality, NaNEqualsNothing) {
  VoiceSetting setting = newSetting();
  setting.parameters["pitchShift"] = std::numeric_limits<float>::quiet_NaN();

  EXPECT_FALSE(setting == setting);
}

TEST(VoiceSettingEquality, ZeroEqualsMinusZero) {
  VoiceSetting setting = newSetting();
  setting.parameters["pitchShift"] = -0.0F;

  EXPECT_TRUE(setting == newSetting());
}

TEST(VoiceSettingEquality, CountsAnExtraParameterOnEitherSide) {
  VoiceSetting extended = newSetting();
  extended.parameters["foo"] = 1.0F;

  EXPECT_FALSE(extended == newSetting());
  EXPECT_FALSE(newSetting() == extended);
}

TEST(VoiceSettingEquality, DistinguishesParameterNames) {
  VoiceSetting left = newSetting();
  VoiceSetting right = newSetting();
  left.parameters["foo"] = 1.0F;
  right.parameters["fop"] = 1.0F;

  EXPECT_FALSE(left == right);
}

}  // namespace
