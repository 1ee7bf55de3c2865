#include "text/text_chunks.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <vector>

#include "support/repeat.hpp"
#include "support/row_name.hpp"

namespace {

using KQ::engines::SpokenText;
using KQ::engines::TextChunk;
using KQ::engines::TextChunks;
using test::repeat;
using ::testing::ElementsAre;

/// The chunks of a text, tags included.
std::vector<std::string> cut(const std::string& text) {
  std::vector<std::string> all;
  SpokenText spoken(text);
  TextChunks chunks(spoken);
  while (const TextChunk* chunk = chunks.next()) {
    all.emplace_back();
    for (const auto& item : *chunk) {
      all.back() += text.substr(item.offset, item.length);
    }
  }
  return all;
}

TEST(TextChunks, OfAnEmptyTextAreOneEmptyChunk) {
  EXPECT_THAT(cut(""), ElementsAre(""));
}

TEST(TextChunks, OfAShortTextAreItself) {
  const std::string text = "One.\n\nTwo. \\mrk=1\\ Three!";
  EXPECT_THAT(cut(text), ElementsAre(text));
}

TEST(TextChunks, OfTheLongestSizeAreOne) {
  EXPECT_EQ(cut(std::string(TextChunks::longest, 'a')).size(), 1U);
  EXPECT_EQ(cut(std::string(TextChunks::longest + 1, 'a')).size(), 2U);
}

TEST(TextChunks, LoseNothingAndAreNotTooLong) {
  const std::string text = repeat("Words, \\mrk=7\\ words. É日本\\", 100000);
  const std::vector<std::string> chunks = cut(text);
  EXPECT_EQ(std::accumulate(chunks.begin(), chunks.end(), std::string()), text);
  for (const std::string& chunk : chunks) {
    EXPECT_LE(chunk.size(), TextChunks::longest);
  }
}

TEST(TextChunks, RestartedWithinATextAreThoseOfTheOther) {
  const std::string text = repeat("The \\mrk=7\\dogs run right away. ", 1000);
  SpokenText other(text);
  SpokenText left(text);
  SpokenText again(text);
  TextChunks fresh(other);
  TextChunks restarted(left);
  restarted.next();
  restarted.restart(again);
  while (const TextChunk* expected = fresh.next()) {
    const TextChunk* const chunk = restarted.next();
    ASSERT_TRUE(chunk != nullptr);
    EXPECT_EQ(chunk->size(), expected->size());
    EXPECT_EQ(chunk->front().offset, expected->front().offset);
  }
  EXPECT_TRUE(restarted.next() == nullptr);
}

TEST(TextChunks, AreNotCutWithinACharacter) {
  EXPECT_EQ(cut(repeat("日", 12000)).front().size(), TextChunks::longest / 3 * 3);
}

struct CutRow {
  const char* name;
  std::string best;   ///< where it is cut
  std::string worse;  ///< the text after it, with a worse place for a cut
};

const CutRow cuts[] = {
    {"ParagraphBeforeSentence", "one\n\n", "two! "},
    {"LineBeforeFullStop", "one\n", "two. "},
    {"QuestionBeforeFullStop", "one? ", "two. "},
    {"IdeographicStopBeforeFullStop", "一。", "two. "},
    {"FullStopBeforeComma", "one. ", "two, "},
    {"CommaBeforeBlank", "one, ", "two "},
    {"BlankBeforeLetter", "one ", "two"},
};

class Cut : public ::testing::TestWithParam<CutRow> {};

TEST_P(Cut, IsMadeAtTheBestPlace) {
  const std::string before = std::string(6000, 'x') + GetParam().best;
  const std::string after = GetParam().worse + std::string(6000, 'y');
  EXPECT_EQ(cut(before + after).front(), before);
}

INSTANTIATE_TEST_SUITE_P(Table, Cut, ::testing::ValuesIn(cuts), test::RowName());

// The first chunks are short, but only where a synthesiser speaks them like the whole text.

struct EarlyRow {
  const char* name;
  std::string sentence;  ///< repeated to make a long text
  bool isCutEarly;
};

const EarlyRow earlyCuts[] = {
    {"BehindASentence", "The dogs run right away. ", true},
    {"BehindAQuestion", "do dogs run? ", true},
    {"BehindAParagraph", "dogs run\n\n", true},
    {"BeforeATag", "\\vol=80\\The dogs run away. \\rst\\and ", true},
    {"BehindATaggedSentence", "Dogs \\rst\\run away. Cats stay \\mrk=1\\here and ", true},
    {"NotBehindATitle", "we saw Prof. Smith and ", false},
    {"NotBehindAnAbbreviation", "we saw approx. nine and ", false},
    {"NotBehindAClause", "dogs run, and ", false},
    {"NotBehindALine", "dogs run\n", false},
    {"NotBehindAWord", "dogs run ", false},
};

class EarlyCut : public ::testing::TestWithParam<EarlyRow> {};

TEST_P(EarlyCut, IsMadeOnlyWhereItIsNotHeard) {
  const std::size_t first = cut(repeat(GetParam().sentence, 20000)).front().size();
  EXPECT_EQ(first <= 1024, GetParam().isCutEarly) << first;
}

INSTANTIATE_TEST_SUITE_P(Table, EarlyCut, ::testing::ValuesIn(earlyCuts), test::RowName());

}  // namespace
