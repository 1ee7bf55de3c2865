#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

#include "speaker_setup.hpp"

namespace {

using KQ::OpenUtterance;
using KQ::SpeechOptions;
using KQ::Utterance;
using KQ::UtteranceEnd;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Latch;
using test::SpeakerSetup;
using testing::ElementsAre;

constexpr const char* story =
    "Dr. Smith came at 5.30 p.m. \\mrk=1\\ He said: \"Hello!\" and left. \\RSPD=80\\ Später kam er "
    "wieder. \\RST\\ Then \\Lang=fr\\ il a dit « bonjour ». Oui. \\RST\\ Привет мир! The end";

/// Waits until a line was noted.
bool waitFor(const test::SpeechNotes& notes, const std::string& line) {
  for (int i = 0; i < 6000; ++i) {
    if (!notes.notes(line).empty()) {
      return true;
    }
    std::this_thread::sleep_for(milliseconds(10));
  }
  return false;
}

TEST(Streams, ASentenceIsSpokenWhenItIsComplete) {
  SpeakerSetup setup;
  setup.notes->text = "One two. Three";
  SpeechOptions options;
  options.clauseDelay = seconds(60);

  const OpenUtterance utterance = setup.speaker().open(options);
  utterance.append("One two. Thr");

  EXPECT_TRUE(waitFor(*setup.notes, "word two."));
  EXPECT_EQ(utterance.state(), KQ::UtteranceState::speaking);
  utterance.append("ee");
  utterance.finish();
  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_THAT(setup.notes->notes("word"), ElementsAre("1 word One", "1 word two.", "1 word Three"));
}

TEST(Streams, AClauseIsSpokenWhenNoMoreComesForATime) {
  SpeakerSetup setup;
  setup.notes->text = "Well, then";
  SpeechOptions options;
  options.clauseDelay = milliseconds(20);

  const OpenUtterance utterance = setup.speaker().open(options);
  utterance.append("Well, th");

  EXPECT_TRUE(waitFor(*setup.notes, "word Well,"));
  utterance.append("en");
  utterance.finish();
  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_THAT(setup.notes->notes("word"), ElementsAre("1 word Well,", "1 word then"));
}

TEST(Streams, PiecesOfAnySizeSoundAsTheWholeTextDoes) {
  SpeakerSetup whole;
  whole.say(story);
  for (std::size_t size = 1; size <= 7; ++size) {
    SpeakerSetup setup;
    setup.notes->text = story;
    SpeechOptions options;
    options.clauseDelay = seconds(60);
    const OpenUtterance utterance = setup.speaker().open(options);
    const std::string text = story;
    for (std::size_t at = 0; at < text.size(); at += size) {
      EXPECT_TRUE(utterance.append(text.substr(at, size)));
    }
    utterance.finish();
    ASSERT_TRUE(utterance.waitFor(seconds(60)));

    EXPECT_EQ(setup.notes->notes(), whole.notes->notes()) << "pieces of " << size;
    EXPECT_EQ(setup.notes->audio(), whole.notes->audio()) << "pieces of " << size;
  }
}

TEST(Streams, TheLastHandleFinishesTheText) {
  SpeakerSetup setup;
  Utterance utterance;
  {
    const OpenUtterance open = setup.speaker().open();
    open.append("One");
    utterance = open;
  }

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
}

TEST(Streams, NothingIsAddedAfterTheEnd) {
  SpeakerSetup setup;
  const OpenUtterance finished = setup.speaker().open();
  finished.finish();
  const OpenUtterance stopped = setup.speaker().open();
  stopped.stop();

  EXPECT_FALSE(finished.append("One."));
  EXPECT_FALSE(stopped.append("One."));
}

TEST(Streams, AStopEndsAnUtteranceThatWaitsForText) {
  SpeakerSetup setup;
  const OpenUtterance utterance = setup.speaker().open();
  utterance.append("One. T");
  ASSERT_TRUE(waitFor(*setup.notes, "word"));

  utterance.stop();

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_EQ(utterance.end(), UtteranceEnd::stopped);
}

TEST(Streams, AReloadDoesNotWaitForMoreText) {
  SpeakerSetup setup;
  const OpenUtterance utterance = setup.speaker().open();
  utterance.append("One. T");
  ASSERT_TRUE(waitFor(*setup.notes, "word"));

  EXPECT_TRUE(setup.speaker().reload(setup.stage.packages));
  utterance.append("wo.");
  utterance.finish();

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
}

TEST(Streams, ALongTextIsSpokenInLinearTime) {
  SpeakerSetup setup;
  test::stage::script("nuance").samplesPerLetter = 1;
  std::string text;
  while (text.size() < 1000000) {
    text += "Some words of a text that goes on and on. ";
  }

  const Utterance utterance = setup.say(text);

  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_EQ(setup.notes->words.back().textOffset, text.size() - 4);
}

}  // namespace
