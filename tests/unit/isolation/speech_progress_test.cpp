#include "isolation/host/speech_progress.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using KQ::isolation::SpeechProgress;

/// An utterance whose engine tells words of 100 ms.
class Progress : public ::testing::Test {
 protected:
  /// The engine tells a word of the piece, and then so much of its audio.
  bool say(const std::string& word, std::size_t samples = 1000) {
    const std::size_t place = sent.find(word, said);
    said = place + word.size();
    const bool isNew = progress.word({place, word.size(), sentSamples}).has_value();
    progress.taken(samples, 10000);
    sentSamples += samples;
    return isNew;
  }

  /// What is sent next.
  std::string next() {
    const SpeechProgress::Piece piece = progress.piece();
    sent = piece.prefix + std::string(piece.body);
    said = 0;
    sentSamples = 0;
    return sent;
  }

  const std::string text = "\\RSPD=50\\ One two, three. Four \\mrk=1\\ five. Six.";
  SpeechProgress progress{text};
  std::string sent;
  std::size_t said = 0;
  std::uint64_t sentSamples = 0;
};

TEST_F(Progress, BeginsWithTheWholeText) {
  EXPECT_EQ(next(), text);
}

TEST_F(Progress, GoesOnAfterTheLastWordThatWasHeard) {
  next();
  say("One");
  say("two");
  EXPECT_FALSE(progress.engineDied());
  EXPECT_EQ(next(), "\\RSPD=50\\three. ");
}

TEST_F(Progress, RepeatsAWordOfWhichLittleWasHeard) {
  next();
  say("One");
  say("two", 400);
  progress.engineDied();
  EXPECT_EQ(next(), "\\RSPD=50\\two, three. ");
}

TEST_F(Progress, TellsARepeatedWordOnce) {
  next();
  say("One");
  say("two", 0);
  progress.engineDied();
  next();
  EXPECT_FALSE(say("two"));
  EXPECT_TRUE(say("three"));
}

TEST_F(Progress, CountsPositionsOn) {
  next();
  say("One");
  say("two", 600);
  progress.engineDied();
  next();
  EXPECT_EQ(progress.position(10), 1610U);
}

TEST_F(Progress, GivesPlacesInTheWholeText) {
  next();
  say("One");
  progress.engineDied();
  next();
  EXPECT_EQ(progress.word({sent.find("two"), 3, 0})->textOffset, text.find("two"));
}

TEST_F(Progress, LeavesOutASentenceAtItsSecondDeath) {
  next();
  say("One");
  say("two");
  EXPECT_FALSE(progress.engineDied());
  next();
  EXPECT_TRUE(progress.engineDied());
  EXPECT_EQ(next(), "\\RSPD=50\\Four \\mrk=1\\ five. ");
}

TEST_F(Progress, SpeaksSentenceBySentenceAfterADeath) {
  next();
  say("One");
  progress.engineDied();
  next();
  progress.pieceSaid();
  EXPECT_EQ(next(), "\\RSPD=50\\Four \\mrk=1\\ five. ");
  progress.pieceSaid();
  EXPECT_EQ(next(), "\\RSPD=50\\Six.");
  EXPECT_FALSE(progress.isDone());
  progress.pieceSaid();
  EXPECT_TRUE(progress.isDone());
}

TEST_F(Progress, TellsAMarkOnceThatIsSentTwice) {
  next();
  for (const char* word : {"One", "two", "three", "Four"}) {
    say(word);
  }
  EXPECT_TRUE(progress.mark(1));
  progress.engineDied();
  EXPECT_EQ(next(), "\\RSPD=50\\\\mrk=1\\ five. ");
  EXPECT_FALSE(progress.mark(1));
  EXPECT_TRUE(progress.mark(1));
}

TEST_F(Progress, IsDoneWhenAllWordsWereHeard) {
  next();
  for (const char* word : {"One", "two", "three", "Four", "five", "Six"}) {
    say(word);
  }
  progress.engineDied();
  EXPECT_TRUE(progress.isDone());
}

TEST_F(Progress, NoticesSentencesThatWereSaid) {
  next();
  say("One");
  EXPECT_FALSE(progress.hasSaidSentence());
  say("Four");
  EXPECT_TRUE(progress.hasSaidSentence());
  EXPECT_FALSE(progress.hasSaidSentence());
}

TEST_F(Progress, BelievesNoPlacesOutsideTheText) {
  next();
  const auto word = progress.word({1000000, 1000000, 0});
  EXPECT_EQ(word->textOffset, text.size());
  EXPECT_EQ(word->textLength, 0U);
}

}  // namespace
