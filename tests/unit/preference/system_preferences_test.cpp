#include <gmock/gmock.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <kqtts/tts_preference.hpp>

#include "support/errors.hpp"
#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

namespace fs = boost::filesystem;
using KQ::VoiceSetting;

VoiceSetting settingOf(const std::string& voiceName) {
  return {KQ::VOICE_SETTING_PREFERENCES, voiceName};
}

KQValue entry(const KQValue& name, const KQValue& value) {
  return KQValue::array({name, KQValue(), value});
}

// Settings from the system's preferences -----------------------------------------------------

TEST(SystemPreferences, AnEmptyArrayGivesTheDefaultsAndTheGivenVoice) {
  EXPECT_TRUE(KQ::makeVoiceSettingFromSysXml(KQValue::array(), "voice1") == settingOf("voice1"));
}

TEST(SystemPreferences, SetParametersAndTheVoice) {
  VoiceSetting expected = settingOf("voice2");
  expected.parameters["defaultVoiceSpeed"] = 80.0F;

  EXPECT_TRUE(KQ::makeVoiceSettingFromSysXml(KQValue::array({entry("defaultVoiceSpeed", 80.0F),
                                                             entry("sourceVoice", "voice2")}),
                                             "voice1") == expected);
}

TEST(SystemPreferences, MayHaveAnyName) {
  VoiceSetting expected = settingOf("voice1");
  expected.parameters["foo"] = 2.0F;

  EXPECT_TRUE(KQ::makeVoiceSettingFromSysXml(KQValue::array({entry("foo", 2.0F)}), "voice1") ==
              expected);
}

TEST(SystemPreferences, CannotChangeTheVoiceLevel) {
  EXPECT_TRUE(KQ::makeVoiceSettingFromSysXml(KQValue::array({entry("voiceLevel", 0.5F)}),
                                             "voice1") == settingOf("voice1"));
}

TEST(SystemPreferences, TheLaterOfTwoWins) {
  const VoiceSetting setting = KQ::makeVoiceSettingFromSysXml(
      KQValue::array({entry("pitchShift", 1.0F), entry("pitchShift", 2.0F)}), "voice1");

  EXPECT_EQ(setting.parameters.at("pitchShift"), 2.0F);
}

TEST(SystemPreferences, TheSourceVoiceIsTakenInExactCaseOnly) {
  const VoiceSetting setting =
      KQ::makeVoiceSettingFromSysXml(KQValue::array({entry("SourceVoice", 2.0F)}), "voice1");

  EXPECT_EQ(setting.voiceName, "voice1");
  EXPECT_EQ(setting.parameters.at("SourceVoice"), 2.0F);
}

TEST(SystemPreferences, MoreThanThreeElementsAreNotLookedAt) {
  const VoiceSetting setting = KQ::makeVoiceSettingFromSysXml(
      KQValue::array({KQValue::array({"pitchShift", 7, 2.0F, "more"})}), "voice1");

  EXPECT_EQ(setting.parameters.at("pitchShift"), 2.0F);
}

struct Shape {
  const char* name;
  KQValue preferences;
};

void PrintTo(const Shape& shape, std::ostream* stream) {
  *stream << shape.name;
}

class WrongShape : public testing::TestWithParam<Shape> {};

/// The text of the error that the value itself throws.
std::string complaintOf(const KQValue& preferences) {
  try {
    KQValue copy = preferences;
    const int size = copy.getSize();
    const std::string& name = copy[size - 1][0];
    KQValue& value = copy[size - 1][2];
    name == "sourceVoice" ? static_cast<void>(static_cast<std::string&>(value))
                          : static_cast<void>(static_cast<float&>(value));
  } catch (const KQError& error) {
    return error.what();
  }
  return "";
}

TEST_P(WrongShape, IsReportedWithTheErrorTextOfTheValue) {
  const std::string complaint = complaintOf(GetParam().preferences);
  ASSERT_NE(complaint, "");

  EXPECT_THAT([&] { KQ::makeVoiceSettingFromSysXml(GetParam().preferences, "voice1"); },
              test::throwsKQError("KQTextToSpeech", "makeVoiceSettingFromSysXml", complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, WrongShape,
    testing::Values(Shape{"NoArray", KQValue("sourceVoice")}, Shape{"Null", KQValue()},
                    Shape{"EntryNoArray", KQValue::array({"sourceVoice"})},
                    Shape{"EntryEmpty", KQValue::array({KQValue::array()})},
                    Shape{"EntryTooShort", KQValue::array({KQValue::array({"sourceVoice", "x"})})},
                    Shape{"NameNoString", KQValue::array({entry(1.0F, 1.0F)})},
                    Shape{"VoiceNoString", KQValue::array({entry("sourceVoice", 1.0F)})},
                    Shape{"NumberNoFloat", KQValue::array({entry("pitchShift", "1")})},
                    Shape{"NumberAnInteger", KQValue::array({entry("pitchShift", 1)})},
                    Shape{"AfterAGoodOne",
                          KQValue::array({entry("pitchShift", 1.0F), entry("foo", "bar")})}),
    test::RowName());

// The settings file of a voice ---------------------------------------------------------------

class SettingsFileLookup : public testing::Test {
 protected:
  std::string found() const { return KQ::xRetrieveVoiceSettingsFile("voice1", folder.path()); }

  test::TempFolder folder;
};

TEST_F(SettingsFileLookup, FindsTheFile) {
  folder.write("voice.xml", "");
  folder.write("voiceSettings.xml", "");
  folder.write("zzz.xml", "");

  EXPECT_EQ(found(), (folder.path() / "voiceSettings.xml").native());
}

TEST_F(SettingsFileLookup, DoesNotConsultTheVoicesName) {
  folder.write("voiceSettings.xml", "");

  EXPECT_EQ(KQ::xRetrieveVoiceSettingsFile("", folder.path()), found());
}

TEST_F(SettingsFileLookup, FindsNothingInAnEmptyFolder) {
  EXPECT_EQ(found(), "");
}

TEST_F(SettingsFileLookup, DistinguishesLetterCases) {
  folder.write("VoiceSettings.xml", "");

  EXPECT_EQ(found(), "");
}

TEST_F(SettingsFileLookup, SkipsAFolderOfThatName) {
  fs::create_directory(folder.path() / "voiceSettings.xml");

  EXPECT_EQ(found(), "");
}

TEST_F(SettingsFileLookup, DoesNotLookIntoFolders) {
  fs::create_directory(folder.path() / "deeper");
  folder.write("deeper/voiceSettings.xml", "");

  EXPECT_EQ(found(), "");
}

TEST_F(SettingsFileLookup, FollowsALink) {
  folder.write("other.xml", "");
  fs::create_symlink("other.xml", folder.path() / "voiceSettings.xml");

  EXPECT_EQ(found(), (folder.path() / "voiceSettings.xml").native());
}

TEST_F(SettingsFileLookup, SkipsADanglingLink) {
  fs::create_symlink("none.xml", folder.path() / "voiceSettings.xml");

  EXPECT_EQ(found(), "");
}

TEST_F(SettingsFileLookup, FindsNothingForAnEmptyPath) {
  EXPECT_EQ(KQ::xRetrieveVoiceSettingsFile("voice1", ""), "");
}

TEST_F(SettingsFileLookup, ThrowsForAMissingFolder) {
  EXPECT_THROW(KQ::xRetrieveVoiceSettingsFile("voice1", folder.path() / "none"),
               fs::filesystem_error);
}

TEST_F(SettingsFileLookup, ThrowsIfAnEntrysStatusCannotBeRead) {
  fs::create_symlink("loop", folder.path() / "loop");

  EXPECT_THROW(found(), fs::filesystem_error);
}

}  // namespace
