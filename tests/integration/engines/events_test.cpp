#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engines/speaking_engine.hpp"

namespace {

using test::FreshEngine;
using test::SpeakingEngine;
using test::SpeechEvent;
using Kind = test::SpeechEvent::Kind;
using ::testing::ElementsAre;

TEST(Events, BeginWithTheStartAndEndWithTheEnd) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("Hello world");
  const std::vector<SpeechEvent> events = speaking.host.events();
  EXPECT_EQ(events.front().kind, Kind::start);
  EXPECT_EQ(events.back().kind, Kind::end);
  EXPECT_EQ(speaking.host.events(Kind::start).size(), 1U);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(Events, OfAnEmptyTextAreStartAndEnd) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("");
  EXPECT_EQ(speaking.host.events().size(), 2U);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST(Events, NameEachWordByItsBytes) {
  SpeakingEngine speaking;
  const std::string text = "Élan vital naïve 日本 café";
  speaking->startSynthetizer(text);
  const std::vector<std::string> words = speaking.host.words(text);
  EXPECT_EQ(words.front(), "Élan");
  EXPECT_EQ(words.back(), "café");
}

TEST(Events, NameWordsOfSeveralSentencesOnce) {
  SpeakingEngine speaking;
  const std::string text = "One, two. Three? Four!\nFive";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("One", "two", "Three", "Four", "Five"));
}

TEST(Events, NameANumberOnce) {
  SpeakingEngine speaking;
  const std::string text = "All 1234 cats";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("All", "1234", "cats"));
}

TEST(Events, NameTheSameWordTwiceInARowTwice) {
  SpeakingEngine speaking;
  const std::string text = "bye bye";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("bye", "bye"));
}

TEST(Events, NameWordsAfterEscapedCharactersAndTags) {
  SpeakingEngine speaking;
  const std::string text = "a < b \\mrk=3\\ & \\Vol=50\\ ñandú";
  speaking->startSynthetizer(text);
  EXPECT_EQ(speaking.host.words(text).back(), "ñandú");
}

TEST(Events, NameWordsLateInALongText) {
  SpeakingEngine speaking;
  std::string text;
  for (int i = 0; i < 300; ++i) {
    text += "où été; ";
  }
  text += "\nzèbre";
  for (int i = 0; i < 2000; ++i) {
    text += " so";
  }
  text += ". Fin";
  speaking->startSynthetizer(text);
  const std::vector<std::string> words = speaking.host.words(text);
  EXPECT_THAT(words, ::testing::Contains("zèbre"));
  EXPECT_EQ(words.back(), "Fin");
  EXPECT_EQ(words.size(), 300U * 2 + 1 + 2000 + 1);
}

TEST(Events, PlaceWordsWhereTheySound) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("One. Two.");
  const std::vector<SpeechEvent> words = speaking.host.events(Kind::word);
  ASSERT_EQ(words.size(), 2U);
  const test::Samples samples = speaking.host.samples();
  const auto second = samples.begin() + static_cast<std::ptrdiff_t>(words[1].word.samplePosition);
  // The sentence's pause ends where the second word begins.
  const std::ptrdiff_t tenth = test::engineUnderTest().samplingRate / 10;
  EXPECT_LT(test::level({second - tenth, second}), 20);
  EXPECT_GT(test::level({second, second + 2 * tenth}), 500);
}

TEST(Events, ComeBeforeTheAudioThatHoldsThem) {
  SpeakingEngine speaking;
  std::string text = "One two, three \\mrk=7\\ four. Five \\Pau=300\\ six \\mrk=8\\ seven.";
  speaking->startSynthetizer(text + text + text);
  std::uint64_t told = 0;
  std::uint64_t latest = 0;
  for (const SpeechEvent& event : speaking.host.events()) {
    if (event.kind == Kind::audio) {
      told += event.count;
    } else if (event.kind == Kind::word || event.kind == Kind::mark) {
      EXPECT_GE(event.word.samplePosition, told);
      EXPECT_GE(event.word.samplePosition, latest);
      latest = event.word.samplePosition;
    }
  }
  EXPECT_LE(latest, told);
}

TEST(Events, KeepTheirPlaceOverAPause) {
  FreshEngine speaking;
  bool paused = false;
  speaking.host.atAudio = [&] {
    if (!paused) {
      paused = true;
      speaking->pauseSynthetizer();
      speaking->restartSynthetizer();
    }
    return true;
  };
  speaking->startSynthetizer("One. Two.");
  FreshEngine straight;
  straight->startSynthetizer("One. Two.");
  const auto second = [](const SpeakingEngine& engine) {
    return static_cast<double>(engine.host.events(Kind::word).at(1).word.samplePosition);
  };
  EXPECT_NEAR(second(speaking), second(straight), 200);
}

}  // namespace
