#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "engines/speaking_engine.hpp"
#include "support/errors.hpp"
#include "support/row_name.hpp"

namespace {

using test::Samples;
using test::SpeakingEngine;
using test::spoken;
using ::testing::IsSupersetOf;

constexpr const char* sentence = "The quick brown fox jumps over the lazy dog";

double pitchOf(const Samples& samples) {
  return test::pitch(samples, test::engineUnderTest().samplingRate);
}

auto with(const char* parameter, float value) {
  return [=](KQ::TextToSpeechEngine& engine) { engine.setParameter(parameter, value); };
}

/// The message about an unknown parameter, which lists the known ones.
std::string unknownParameter(KQ::TextToSpeechEngine& engine, const std::string& name) {
  std::string message = "unknown parameter \"" + name + "\", there are";
  for (const std::string& known : engine.getAvailableParameters()) {
    message += " \"" + known + '"';
  }
  return message;
}

TEST(Parameters, IncludeTheOnesOfAllEngines) {
  test::LoadedEngine inactive(nullptr);
  EXPECT_THAT(inactive->getAvailableParameters(),
              IsSupersetOf({"speed", "pitchShift", "voiceLevel"}));
}

TEST(Parameters, CanAllBeReadAndSet) {
  SpeakingEngine speaking;
  for (const std::string& name : speaking->getAvailableParameters()) {
    const float value = speaking->getParameter(name);
    speaking->setParameter(name, value);
    EXPECT_EQ(speaking->getParameter(name), value) << name;
  }
}

TEST(Parameters, RefuseNotANumber) {
  SpeakingEngine speaking;
  for (const std::string& name : speaking->getAvailableParameters()) {
    EXPECT_THROW(speaking->setParameter(name, std::numeric_limits<float>::quiet_NaN()), KQError)
        << name;
  }
}

TEST(Parameters, BeginWithTheirNormalValues) {
  SpeakingEngine speaking;
  EXPECT_EQ(speaking->getParameter("speed"), 100);
  EXPECT_EQ(speaking->getParameter("pitchShift"), 1);
  EXPECT_EQ(speaking->getParameter("voiceLevel"), 1);
}

TEST(Parameters, HalfTheSpeedTakesTwiceTheTime) {
  const double ratio =
      test::length(spoken(sentence, with("speed", 50))) / test::length(spoken(sentence));
  EXPECT_NEAR(ratio, 2, 0.15);
}

TEST(Parameters, TwiceTheSpeedTakesHalfTheTime) {
  const double ratio =
      test::length(spoken(sentence, with("speed", 200))) / test::length(spoken(sentence));
  EXPECT_NEAR(ratio, 0.5, 0.05);
}

TEST(Parameters, FourTimesTheSpeedTakesAQuarterOfTheTime) {
  const double ratio =
      test::length(spoken(sentence, with("speed", 400))) / test::length(spoken(sentence));
  EXPECT_NEAR(ratio, 0.25, 0.03);
}

TEST(Parameters, PitchShiftIsAFactor) {
  const double normal = pitchOf(spoken(sentence));
  EXPECT_NEAR(pitchOf(spoken(sentence, with("pitchShift", 1.5F))) / normal, 1.5, 0.1);
}

TEST(Parameters, PitchShiftOfZeroChangesNothing) {
  const double normal = pitchOf(spoken(sentence));
  EXPECT_NEAR(pitchOf(spoken(sentence, with("pitchShift", 0))), normal, normal * 0.03);
}

TEST(Parameters, VoiceLevelIsAFactor) {
  const double normal = test::level(spoken(sentence));
  EXPECT_NEAR(test::level(spoken(sentence, with("voiceLevel", 0.5F))), normal / 2, normal * 0.02);
}

TEST(Parameters, VoiceLevelOfZeroIsSilence) {
  EXPECT_EQ(test::level(spoken(sentence, with("voiceLevel", 0))), 0);
}

TEST(Parameters, SpeedCanBeReset) {
  SpeakingEngine speaking;
  speaking->setParameter("speed", 150);
  speaking->resetSpeed();
  EXPECT_EQ(speaking->getParameter("speed"), 100);
}

TEST(Parameters, ResetOfTheSpeedKeepsTheOthers) {
  SpeakingEngine speaking;
  speaking->setParameter("pitchShift", 1.5F);
  speaking->resetSpeed();
  EXPECT_EQ(speaking->getParameter("pitchShift"), 1.5F);
}

TEST(Parameters, SurviveAChangeOfVoice) {
  SpeakingEngine speaking;
  speaking->setParameter("speed", 150);
  speaking->setCurrentVoice(test::engineUnderTest().otherVoice);
  EXPECT_EQ(speaking->getParameter("speed"), 150);
}

TEST(Parameters, UnknownOneCannotBeSet) {
  SpeakingEngine speaking;
  EXPECT_THAT([&] { speaking->setParameter("Speed", 1); },
              test::throwsKQError(test::engineUnderTest().name, "setParameter",
                                  unknownParameter(*speaking.engine, "Speed")));
}

TEST(Parameters, UnknownOneCannotBeRead) {
  SpeakingEngine speaking;
  EXPECT_THAT([&] { speaking->getParameter(""); },
              test::throwsKQError(test::engineUnderTest().name, "getParameter",
                                  unknownParameter(*speaking.engine, "")));
}

struct RangeRow {
  const char* name;
  const char* parameter;
  float value;
  const char* description;
};

const RangeRow outOfRange[] = {
    {"SlowestIsHalf", "speed", 49.9F,
     "parameter \"speed\" cannot be 49.9, it must be from 50 to 400"},
    {"FastestIsFourfold", "speed", 400.1F,
     "parameter \"speed\" cannot be 400.1, it must be from 50 to 400"},
    {"SpeedIsANumber", "speed", std::nanf(""),
     "parameter \"speed\" cannot be nan, it must be from 50 to 400"},
    {"SpeedIsFinite", "speed", std::numeric_limits<float>::infinity(),
     "parameter \"speed\" cannot be inf, it must be from 50 to 400"},
    {"LowestPitchIsHalf", "pitchShift", 0.4F,
     "parameter \"pitchShift\" cannot be 0.4, it must be 0 or from 0.5 to 2"},
    {"HighestPitchIsDouble", "pitchShift", 2.1F,
     "parameter \"pitchShift\" cannot be 2.1, it must be 0 or from 0.5 to 2"},
    {"LowestLevelIsNone", "voiceLevel", -0.1F,
     "parameter \"voiceLevel\" cannot be -0.1, it must be from 0 to 2"},
    {"HighestLevelIsDouble", "voiceLevel", 2.1F,
     "parameter \"voiceLevel\" cannot be 2.1, it must be from 0 to 2"},
};

class OutOfRange : public ::testing::TestWithParam<RangeRow> {};

TEST_P(OutOfRange, ValueIsRefusedAndTheOldOneKept) {
  SpeakingEngine speaking;
  const float before = speaking->getParameter(GetParam().parameter);
  EXPECT_THAT(
      [&] { speaking->setParameter(GetParam().parameter, GetParam().value); },
      test::throwsKQError(test::engineUnderTest().name, "setParameter", GetParam().description));
  EXPECT_EQ(speaking->getParameter(GetParam().parameter), before);
}

INSTANTIATE_TEST_SUITE_P(Table, OutOfRange, ::testing::ValuesIn(outOfRange), test::RowName());

struct EncodingRow {
  const char* name;
  std::string text;
  const char* language;
  int expected;
};

const EncodingRow encodings[] = {
    {"Ascii", "Hello", "English", 1},
    {"Utf8", "Œuvre 日本 😀", "English", 1},
    {"Empty", "", "English", 1},
    {"NoLanguageIsTheCurrentOne", "Hello", "", 1},
    {"LanguageNotOffered", "Hello", "German", 0},
    {"Latin1", "caf\xE9", "English", 0},
    {"LoneContinuation", "\x80", "English", 0},
    {"Overlong", "\xC0\xAF", "English", 0},
    {"OverlongThree", "\xE0\x9F\xBF", "English", 0},
    {"OverlongFour", "\xF0\x8F\xBF\xBF", "English", 0},
    {"Surrogate", "\xED\xA0\x80", "English", 0},
    {"BeyondUnicode", "\xF4\x90\x80\x80", "English", 0},
    {"CutShort", "\xE6\x97", "English", 0},
    {"Nul", std::string("a\0b", 3), "English", 0},
};

class Encoding : public ::testing::TestWithParam<EncodingRow> {};

TEST_P(Encoding, IsTested) {
  SpeakingEngine speaking;
  EXPECT_EQ(speaking->testTextEncoding(GetParam().text, GetParam().language), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, Encoding, ::testing::ValuesIn(encodings), test::RowName());

}  // namespace
