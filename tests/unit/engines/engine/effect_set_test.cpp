#include "engine/effect_set.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "support/errors.hpp"
#include "support/fake_engine.hpp"
#include "support/row_name.hpp"
#include "support/settings_file.hpp"
#include "support/temp_folder.hpp"

namespace {

using KQ::engines::EffectSet;
using KQ::engines::VoiceTuning;
using test::setting;
using test::settingsFile;

class Effects : public ::testing::Test {
 protected:
  void load(const std::string& settings) {
    effects.load(folder.write("robot.xml", settingsFile(settings)));
  }

  auto throwsLoadError(const std::string& why) {
    return test::throwsKQError(engine.getName(), "loadEffect",
                               (folder.path() / "robot.xml").string() + ": " + why);
  }

  test::TempFolder folder;
  test::FakeEngine engine;
  EffectSet effects{engine};
};

TEST_F(Effects, AreOffWhenLoaded) {
  load(setting("pitchShift", "1.5"));
  EXPECT_TRUE(effects.applied().empty());
}

TEST_F(Effects, HaveTheNameOfTheirFile) {
  load(setting("pitchShift", "1.5"));
  effects.apply("robot", true);
  ASSERT_EQ(effects.applied().size(), 1U);
  EXPECT_EQ(effects.applied()[0].pitch, 1.5F);
}

TEST_F(Effects, HoldAllPreferences) {
  load(setting("pitchShift", "1.5") + setting("voiceLevel", "0.5") +
       setting("defaultVoiceSpeed", "80") + setting("doubleVoice", "0.75") +
       setting("doubleVoiceLevel", "0.6") + setting("doubleVoiceTimeShift", "0.02"));
  effects.apply("robot", true);
  const VoiceTuning tuning = effects.applied().at(0);
  EXPECT_EQ(tuning.pitch, 1.5F);
  EXPECT_EQ(tuning.level, 0.5F);
  EXPECT_EQ(tuning.speed, 80);
  EXPECT_EQ(tuning.doubleVoice.pitch, 0.75F);
  EXPECT_EQ(tuning.doubleVoice.level, 0.6F);
  EXPECT_EQ(tuning.doubleVoice.delay, 0.02F);
}

TEST_F(Effects, KeepNormalValuesThatTheFileDoesNotName) {
  load(setting("pitchShift", "0"));
  effects.apply("robot", true);
  const VoiceTuning tuning = effects.applied().at(0);
  EXPECT_EQ(tuning.pitch, 1);
  EXPECT_EQ(tuning.level, 1);
  EXPECT_EQ(tuning.speed, 100);
  EXPECT_FALSE(tuning.doubleVoice.isHeard());
}

TEST_F(Effects, CanBeSwitchedOff) {
  load(setting("pitchShift", "1.5"));
  effects.apply("robot", true);
  effects.apply("robot", false);
  EXPECT_TRUE(effects.applied().empty());
}

TEST_F(Effects, StayOnWithTheNewValuesWhenReloaded) {
  load(setting("pitchShift", "1.5"));
  effects.apply("robot", true);
  load(setting("pitchShift", "0.75"));
  EXPECT_EQ(effects.applied().at(0).pitch, 0.75F);
}

TEST_F(Effects, StayUnchangedWhenReloadingFails) {
  load(setting("pitchShift", "1.5"));
  effects.apply("robot", true);
  EXPECT_THROW(load(setting("pitchShift", "9")), KQError);
  EXPECT_EQ(effects.applied().at(0).pitch, 1.5F);
}

TEST_F(Effects, ComeInTheOrderOfTheirNames) {
  effects.load(folder.write("b.xml", settingsFile(setting("pitchShift", "1.5"))));
  effects.load(folder.write("a.xml", settingsFile(setting("pitchShift", "0.75"))));
  effects.apply("b", true);
  effects.apply("a", true);
  EXPECT_EQ(effects.applied().at(0).pitch, 0.75F);
  EXPECT_EQ(effects.applied().at(1).pitch, 1.5F);
}

TEST_F(Effects, UnknownOneIsAnErrorThatNamesTheKnown) {
  load(setting("pitchShift", "1.5"));
  EXPECT_THAT([&] { effects.apply("robto", true); },
              test::throwsKQError(engine.getName(), "applyEffect",
                                  "unknown effect \"robto\", there are \"robot\""));
}

TEST_F(Effects, UnknownOneIsAnErrorWhereNoneIsLoaded) {
  EXPECT_THAT([&] { effects.apply("robot", false); },
              test::throwsKQError(engine.getName(), "applyEffect",
                                  "unknown effect \"robot\", there are none"));
}

TEST_F(Effects, MissingFileIsAnError) {
  EXPECT_THAT([&] { effects.load(folder.path() / "robot.xml"); },
              throwsLoadError("there is no such file"));
}

TEST_F(Effects, FolderIsAnError) {
  boost::filesystem::create_directory(folder.path() / "robot.xml");
  EXPECT_THAT([&] { effects.load(folder.path() / "robot.xml"); },
              throwsLoadError("is no readable file"));
}

constexpr const char* noEffect =
    "holds no effect: it has none of the known values, or is no XML that can be read";

struct HostileFileRow {
  const char* name;
  std::string content;
  std::string why;
};

const HostileFileRow hostileFiles[] = {
    {"Empty", "", noEffect},
    {"NoXml", "pitchShift = 2", noEffect},
    {"CutShort", "<VoicePreferences>" + setting("pitchShift", "2"), noEffect},
    {"NothingKnown", settingsFile(setting("pitch", "2")), noEffect},
    {"TooDeep", settingsFile("<a>" + setting("pitchShift", "2") + "</a>"), noEffect},
    {"NoNumber", settingsFile(setting("pitchShift", "high")),
     "preference \"pitchShift\" is no number"},
    {"NumberAndMore", settingsFile(setting("pitchShift", "1.5x")),
     "preference \"pitchShift\" is no number"},
    {"Comma", settingsFile(setting("pitchShift", "1,5")), "preference \"pitchShift\" is no number"},
    {"TooLargeForANumber", settingsFile(setting("pitchShift", "1e99")),
     "preference \"pitchShift\" is no number"},
    {"NotANumber", settingsFile(setting("pitchShift", "nan")),
     "preference \"pitchShift\" is out of range"},
    {"Infinite", settingsFile(setting("doubleVoiceTimeShift", "inf")),
     "preference \"doubleVoiceTimeShift\" is out of range"},
    {"TooHigh", settingsFile(setting("pitchShift", "2.1")),
     "preference \"pitchShift\" is out of range"},
    {"CopyTooHigh", settingsFile(setting("doubleVoice", "4.1")),
     "preference \"doubleVoice\" is out of range"},
    {"CopyTooLow", settingsFile(setting("doubleVoice", "0.4")),
     "preference \"doubleVoice\" is out of range"},
    {"CopyTooLoud", settingsFile(setting("doubleVoiceLevel", "4.1")),
     "preference \"doubleVoiceLevel\" is out of range"},
    {"CopyTooLate", settingsFile(setting("doubleVoiceTimeShift", "0.51")),
     "preference \"doubleVoiceTimeShift\" is out of range"},
    {"CopyBeforeTheVoice", settingsFile(setting("doubleVoiceTimeShift", "-0.1")),
     "preference \"doubleVoiceTimeShift\" is out of range"},
};

class HostileEffect : public Effects, public ::testing::WithParamInterface<HostileFileRow> {};

TEST_P(HostileEffect, IsAClearError) {
  const auto file = folder.write("robot.xml", GetParam().content);
  EXPECT_THAT([&] { effects.load(file); }, throwsLoadError(GetParam().why));
}

INSTANTIATE_TEST_SUITE_P(Table, HostileEffect, ::testing::ValuesIn(hostileFiles), test::RowName());

}  // namespace
