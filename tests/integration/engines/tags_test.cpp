#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <kqtts/tts_preference.hpp>

#include "engines/speaking_engine.hpp"
#include "support/row_name.hpp"

namespace {

using test::Samples;
using test::SpeakingEngine;
using test::SpeechEvent;
using test::spoken;
using Kind = test::SpeechEvent::Kind;
using ::testing::ElementsAre;

const int rate = test::engineUnderTest().samplingRate;

double milliseconds(std::size_t samples) {
  return 1000.0 * static_cast<double>(samples) / rate;
}

std::vector<int> marksIn(const std::string& text) {
  SpeakingEngine speaking;
  speaking->startSynthetizer(text);
  std::vector<int> numbers;
  for (const SpeechEvent& event : speaking.host.events(Kind::mark)) {
    numbers.push_back(event.number);
  }
  return numbers;
}

double levelBehindFirstWord(const std::string& text) {
  SpeakingEngine speaking;
  speaking->startSynthetizer(text);
  const Samples samples = speaking.host.samples();
  const auto begin = speaking.host.events(Kind::word).at(1).word.samplePosition;
  return test::level({samples.begin() + static_cast<std::ptrdiff_t>(begin), samples.end()});
}

TEST(Marks, AreEmittedInOrder) {
  EXPECT_THAT(marksIn("One \\mrk=1\\ two. \\mrk=22\\ Three, \\mrk=-3\\ four"),
              ElementsAre(1, 22, -3));
}

TEST(Marks, AtOnePlaceAreAllEmitted) {
  std::string text = "One ";
  std::vector<int> expected;
  for (int i = 0; i < 200; ++i) {
    text += "\\mrk=" + std::to_string(i) + "\\";
    expected.push_back(i);
  }
  EXPECT_EQ(marksIn(text + " two"), expected);
}

TEST(Marks, AtTheEndsAreEmitted) {
  EXPECT_THAT(marksIn("\\mrk=1\\Hello\\mrk=2\\"), ElementsAre(1, 2));
}

TEST(Marks, WithoutAnyTextAreEmitted) {
  EXPECT_THAT(marksIn("\\mrk=1\\ \\mrk=2\\"), ElementsAre(1, 2));
}

TEST(Marks, InALongTextAreAllEmitted) {
  std::string text;
  std::vector<int> expected;
  for (int i = 0; i < 1000; ++i) {
    text += "word \\mrk=" + std::to_string(i) + "\\ ";
    expected.push_back(i);
  }
  EXPECT_EQ(marksIn(text), expected);
}

TEST(Marks, ComeAtTheNextWord) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("Hello wonderful \\mrk=1\\ world");
  const std::uint64_t mark = speaking.host.events(Kind::mark).at(0).word.samplePosition;
  const std::uint64_t word = speaking.host.events(Kind::word).at(2).word.samplePosition;
  EXPECT_NEAR(milliseconds(mark), milliseconds(word), 20);
}

TEST(Marks, DoNotChangeTheSound) {
  const Samples without = spoken("Hello wonderful world");
  EXPECT_NEAR(test::length(spoken("Hello wonderful \\mrk=1\\ world")), test::length(without),
              rate / 100);
}

TEST(Pauses, AreSilenceOfTheirLength) {
  const double without = milliseconds(spoken("Hello my friend").size());
  const Samples with = spoken("Hello \\Pau=500\\ my friend");
  EXPECT_NEAR(milliseconds(with.size()) - without, 500, 10);
  EXPECT_NEAR(milliseconds(test::longestSilence(with).length), 500, 10);
}

TEST(Pauses, ComeBetweenTheirWords) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("Hello \\Pau=500\\ my friend");
  const std::uint64_t word = speaking.host.events(Kind::word).at(1).word.samplePosition;
  const test::Stretch silence = test::longestSilence(speaking.host.samples());
  EXPECT_NEAR(milliseconds(word), milliseconds(silence.begin + silence.length), 20);
}

TEST(Pauses, AtTheEndsAndAloneHaveTheirLength) {
  const double without = milliseconds(spoken("Hello").size());
  EXPECT_NEAR(milliseconds(spoken("\\Pau=300\\Hello\\Pau=200\\").size()) - without, 500, 10);
  EXPECT_NEAR(milliseconds(spoken("\\Pau=300\\").size()), 300, 1);
}

TEST(Pauses, AddUp) {
  const double without = milliseconds(spoken("Hello my friend").size());
  const Samples with = spoken("Hello \\Pau=200\\\\Pau=300\\ my friend");
  EXPECT_NEAR(milliseconds(with.size()) - without, 500, 10);
}

TEST(Pauses, DoNotDependOnTheSpeed) {
  const auto fast = [](KQ::TextToSpeechEngine& engine) { engine.setParameter("speed", 400); };
  const double without = milliseconds(spoken("Hello my friend", fast).size());
  EXPECT_NEAR(milliseconds(spoken("Hello \\Pau=500\\ my friend", fast).size()) - without, 500, 10);
}

TEST(Pauses, CanBeStopped) {
  SpeakingEngine speaking;
  speaking.host.atAudio = [&] {
    speaking->stopSynthetizer();
    return true;
  };
  speaking->startSynthetizer("\\Pau=600000\\Hello");
  EXPECT_LE(speaking.host.samples().size(), 1102U);
}

TEST(PauseMarks, AreAMarkAndAPause) {
  std::string text = "\\mrkpause=300\\Hello";
  KQ::replaceMrkPause(text);
  const double without = milliseconds(spoken("Hello").size());
  EXPECT_NEAR(milliseconds(spoken(text).size()) - without, 300, 10);
  EXPECT_THAT(marksIn(text), ElementsAre(65236));
}

TEST(PauseMarks, MayBeWrittenAsSuch) {
  const double without = milliseconds(spoken("Hello").size());
  EXPECT_NEAR(milliseconds(spoken("\\mrkpause=300\\Hello").size()) - without, 300, 10);
  EXPECT_THAT(marksIn("\\mrkpause=300\\Hello"), ElementsAre(65236));
}

TEST(Speed, InTheTextIsPercent) {
  const double normal = test::length(spoken("The quick brown fox jumps over the lazy dog"));
  const double half =
      test::length(spoken("\\RSPD=50\\The quick brown fox jumps over the lazy dog"));
  EXPECT_NEAR(half / normal, 2, 0.15);
}

TEST(Speed, InTheTextMultipliesTheEngines) {
  const auto twice = [](KQ::TextToSpeechEngine& engine) { engine.setParameter("speed", 200); };
  const double normal = test::length(spoken("The quick brown fox jumps over the lazy dog"));
  const double both =
      test::length(spoken("\\RSPD=50\\The quick brown fox jumps over the lazy dog", twice));
  EXPECT_NEAR(both / normal, 1, 0.12);
}

TEST(Level, InTheTextIsPercent) {
  const double normal = test::level(spoken("Hello my friend"));
  EXPECT_NEAR(test::level(spoken("\\Vol=50\\Hello my friend")) / normal, 0.5, 0.03);
}

TEST(Level, InTheTextMultipliesTheEngines) {
  const auto loud = [](KQ::TextToSpeechEngine& engine) { engine.setParameter("voiceLevel", 0.5F); };
  const double normal = test::level(spoken("Hello my friend"));
  EXPECT_NEAR(test::level(spoken("\\Vol=50\\Hello my friend", loud)) / normal, 0.25, 0.03);
}

TEST(Pitch, InTheTextIsPercent) {
  const double normal = test::pitch(spoken("Hello my good old friend"), rate);
  EXPECT_NEAR(test::pitch(spoken("\\VCT=150\\Hello my good old friend"), rate) / normal, 1.5, 0.1);
}

TEST(Reset, RestoresTheVoicesSettings) {
  const double normal = test::length(spoken("Hello my friend"));
  const Samples reset = spoken("\\RSPD=50\\\\Vol=10\\\\VCT=200\\\\RST\\Hello my friend");
  EXPECT_NEAR(test::length(reset) / normal, 1, 0.02);
}

TEST(Reset, AfterAWordAppliesToTheNextWords) {
  const double normal = levelBehindFirstWord("Hello my friend");
  EXPECT_NEAR(levelBehindFirstWord("\\Vol=10\\Hello \\RST\\my friend") / normal, 1, 0.05);
}

TEST(Settings, InTheTextApplyTogether) {
  const std::string text = "The quick brown fox jumps over the lazy dog";
  const Samples normal = spoken(text);
  const Samples changed = spoken("\\RSPD=50\\\\Vol=50\\\\VCT=150\\" + text);
  EXPECT_NEAR(test::length(changed) / test::length(normal), 2, 0.15);
  EXPECT_NEAR(test::level(changed) / test::level(spoken("\\RSPD=50\\\\VCT=150\\" + text)), 0.5,
              0.03);
  EXPECT_NEAR(test::pitch(changed, rate) / test::pitch(normal, rate), 1.5, 0.15);
}

TEST(Settings, InTheTextReplaceFormerOnes) {
  const double normal = levelBehindFirstWord("Hello my friend");
  EXPECT_NEAR(levelBehindFirstWord("\\Vol=10\\Hello \\Vol=50\\my friend") / normal, 0.5, 0.05);
}

TEST(Settings, InTheTextDoNotLengthenTheLastWord) {
  SpeakingEngine speaking;
  const std::string text = "Hello \\Vol=50\\my \\RST\\friend.";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("Hello", "my", "friend"));
}

TEST(Settings, InTheTextLastOverAChunksEnd) {
  std::string text;
  for (int i = 0; i < 400; ++i) {
    text += "Words words words words words. ";
  }
  const test::Samples quiet = spoken("\\Vol=0\\" + text.substr(0, 9000));
  EXPECT_EQ(test::level(quiet), 0);
}

TEST(Settings, InTheTextDoNotLastOverItsEnd) {
  const double normal = test::length(spoken("Hello my friend"));
  SpeakingEngine speaking;
  speaking->startSynthetizer("\\RSPD=50\\");
  speaking->startSynthetizer("Hello my friend");
  EXPECT_NEAR(test::length(speaking.host.samples()), normal, normal * 0.01);
}

struct SilentTagRow {
  const char* name;
  const char* text;
};

const SilentTagRow silentTags[] = {
    {"Style", "Hello \\Style=joyful\\ my friend"},
    {"StyleOfSeveralWords", "Hello \\Style=very happy\\ my friend"},
    {"Last", "Hello my friend\\last\\"},
    {"LastNotClosed", "Hello my friend \\last"},
    {"Unknown", "Hello \\Emph\\ my friend"},
    {"UnknownWithValue", "Hello \\Prosody=loud\\ my friend"},
    {"NotClosed", "Hello \\Pau=500 my friend"},
    {"NotClosedBeforeAnother", "Hello \\Pau=500 my \\mrk=1\\ friend"},
    {"WithoutNumber", "Hello \\Vol=loud\\ my friend"},
    {"OtherCase", "Hello \\VOL=100\\ my friend"},
    {"LoneBackslash", "Hello \\ my friend"},
};

class SilentTag : public ::testing::TestWithParam<SilentTagRow> {};

TEST_P(SilentTag, IsNotSpoken) {
  SpeakingEngine speaking;
  const std::string text = GetParam().text;
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("Hello", "my", "friend"));
  EXPECT_NEAR(test::length(speaking.host.samples()), test::length(spoken("Hello my friend")),
              rate / 20);
}

INSTANTIATE_TEST_SUITE_P(Table, SilentTag, ::testing::ValuesIn(silentTags), test::RowName());

}  // namespace
