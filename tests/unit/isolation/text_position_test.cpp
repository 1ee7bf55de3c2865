#include "isolation/host/text_position.hpp"

#include <gtest/gtest.h>

#include "support/row_name.hpp"

namespace {

using namespace KQ::isolation;

struct SentenceRow {
  const char* name;
  std::string sentence;  ///< the first of the text
  std::string rest;
};

const SentenceRow sentences[] = {
    {"FullStop", "One two. ", "Three."},
    {"QuestionMark", "One? ", "Two."},
    {"ClosingQuotation", "\"One.\" ", "Two."},
    {"Ellipsis", "One... ", "Two."},
    {"NumbersGoOn", "It is 3.14 now. ", "Two."},
    {"EmptyLine", "One\n\n", "Two"},
    {"LineEndGoesOn", "One\ntwo. ", "Three"},
    {"WideFullStop", "\xE4\xBD\xA0\xE5\xA5\xBD\xE3\x80\x82", "\xE5\xA5\xBD"},
    {"NoEnd", "One two three", ""},
    {"Nothing", "", ""},
};

class Sentence : public ::testing::TestWithParam<SentenceRow> {};

TEST_P(Sentence, Ends) {
  const std::string text = GetParam().sentence + GetParam().rest;
  EXPECT_EQ(text.substr(0, sentenceEnd(text, 0)), GetParam().sentence);
}

INSTANTIATE_TEST_SUITE_P(Table, Sentence, ::testing::ValuesIn(sentences), test::RowName());

TEST(Sentences, WithoutEndAreCutAtABlank) {
  EXPECT_EQ(sentenceEnd("word " + std::string(5000, 'a'), 0), 5U);
}

TEST(Sentences, AreNotCutWithinACharacter) {
  std::string text = "a";
  for (int i = 0; i < 3000; ++i) {
    text += "\xC3\xA9";
  }
  EXPECT_EQ(sentenceEnd(text, 0) % 2, 1U);
}

TEST(BetweenWords, PunctuationIsSkipped) {
  EXPECT_EQ(skipBetweenWords("One, two.", 3), 5U);
  EXPECT_EQ(skipBetweenWords("One. Two", 3), 5U);
  EXPECT_EQ(skipBetweenWords("One!) -5", 3), 6U);
}

TEST(BetweenWords, TagsAreNotSkipped) {
  EXPECT_EQ(skipBetweenWords("One. \\mrk=1\\ Two", 3), 5U);
}

std::string tagsBefore(const std::string& text) {
  TagState tags;
  tags.readUpTo(text, text.size());
  return tags.prefix();
}

TEST(Tags, HoldUntilTheNextOfTheirName) {
  EXPECT_EQ(tagsBefore("\\RSPD=50\\ a \\Vol=20\\ b \\rspd=60\\ c"), "\\rspd=60\\\\Vol=20\\");
}

TEST(Tags, AreReset) {
  EXPECT_EQ(tagsBefore("\\RSPD=50\\ a \\RST\\ b \\Vol=20\\"), "\\Vol=20\\");
}

TEST(Tags, ThatHappenOnceDoNotHold) {
  EXPECT_EQ(tagsBefore("\\mrk=1\\ \\Pau=500\\ \\mrkpause=5\\"), "");
}

TEST(Tags, AreReadInPieces) {
  const std::string text = "\\RSPD=50\\ a \\Vol=20\\ b";
  TagState tags;
  tags.readUpTo(text, 11);
  EXPECT_EQ(tags.prefix(), "\\RSPD=50\\");
  tags.readUpTo(text, text.size());
  EXPECT_EQ(tags.prefix(), "\\RSPD=50\\\\Vol=20\\");
}

}  // namespace
