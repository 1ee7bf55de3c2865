#include "text/word_parts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "script_oracle.hpp"
#include "text/utf8.hpp"

namespace {

using KQ::engines::WordParts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> partsOf(const std::string& text) {
  const WordParts parts(text);
  std::vector<std::string> all;
  for (std::size_t place = 0; place < text.size(); ++place) {
    if (parts.beginsAt(place)) {
      all.push_back(text.substr(place, parts.lengthAt(place, text.size())));
    }
  }
  return all;
}

TEST(WordParts, AreRunsOfLettersAndNumeralsOfAnyScript) {
  EXPECT_THAT(partsOf("a 1b, Œuvre! Привет (한국어) e\xCC\x81t m²"),
              ElementsAre("a", "1b", "Œuvre", "Привет", "한국어", "e\xCC\x81t", "m²"));
}

TEST(WordParts, HoldMarks) {
  EXPECT_THAT(partsOf("हिन्दी كَتَبَ שָׁלוֹם"), ElementsAre("हिन्दी", "كَتَبَ", "שָׁלוֹם"));
}

TEST(WordParts, AreJoinedByApostrophesAndHyphens) {
  EXPECT_THAT(partsOf("don't l’eau R2-D2"), ElementsAre("don't", "l’eau", "R2-D2"));
}

TEST(WordParts, AreJoinedByZeroWidthJoiners) {
  EXPECT_THAT(partsOf("می\u200Cخواهم क्\u200Dष"), ElementsAre("می\u200Cخواهم", "क्\u200Dष"));
}

TEST(WordParts, ExcludeApostrophesAndHyphensAtTheirEnds) {
  EXPECT_THAT(partsOf("'quoted' -x- a--b ’c’"), ElementsAre("quoted", "x", "a", "b", "c"));
}

TEST(WordParts, OfDigitsAreJoinedByFullStopsAndCommas) {
  EXPECT_THAT(partsOf("3.5 1,000 end.Next 7. 8,x"),
              ElementsAre("3.5", "1,000", "end", "Next", "7", "8", "x"));
}

TEST(WordParts, AreSeparatedByInvalidUtf8) {
  EXPECT_THAT(partsOf("a\xFFz\xC3 b\x80z\xE2\x80 \x80\xA9"), ElementsAre("a", "z", "b", "z"));
}

TEST(WordParts, AreFoundOnlyAtWords) {
  EXPECT_THAT(partsOf(""), IsEmpty());
  EXPECT_THAT(partsOf(" .,-'’ \n 😀。"), IsEmpty());
}

TEST(WordParts, AreCharactersWhereThereAreNoBlanks) {
  EXPECT_THAT(partsOf("重庆。すし ㄅ"), ElementsAre("重", "庆", "す", "し", "ㄅ"));
}

TEST(WordParts, AreCharactersOfTheScriptsThatUnicodeNames) {
  constexpr char32_t behindHan = 0x32000;
  for (char32_t point = 0x80; point < behindHan; ++point) {
    if (const std::optional<bool> expected = oracle::needsNoBlanks(point)) {
      std::string text = "a";
      KQ::engines::appendUtf8(text, point);
      ASSERT_EQ(WordParts(text).beginsAt(1), *expected) << std::hex << +point;
    }
  }
}

TEST(WordParts, OfOtherScriptsAreWhole) {
  EXPECT_THAT(partsOf("T恤2024年v1.5版don't也"),
              ElementsAre("T", "恤", "2024", "年", "v1.5", "版", "don't", "也"));
}

TEST(WordParts, WithoutBlanksAreNotJoined) {
  EXPECT_THAT(partsOf("日-本 a-日 日'a"), ElementsAre("日", "本", "a", "日", "日", "a"));
}

TEST(WordParts, OfKatakanaAreRuns) {
  EXPECT_THAT(partsOf("AIロボットは ﾛﾎﾞｯﾄ"), ElementsAre("AI", "ロボット", "は", "ﾛﾎﾞｯﾄ"));
}

TEST(WordParts, HoldSignsOfRepetitionAndLength) {
  EXPECT_THAT(partsOf("人々らーめん"), ElementsAre("人々", "らー", "め", "ん"));
}

TEST(WordParts, AreSyllablesOfThaiAndItsNeighbours) {
  EXPECT_THAT(partsOf("เก่าะก ໄທ မန္တ ខ្មែរ"), ElementsAre("เก่าะ", "ก", "ໄທ", "မ", "န္တ", "ខ្មែ", "រ"));
}

TEST(WordParts, MayBeTooLong) {
  const std::string text(129, 'a');
  EXPECT_EQ(WordParts(text).lengthAt(0, 128), 0U);
  EXPECT_EQ(WordParts(text).lengthAt(0, 129), 129U);
  EXPECT_EQ(WordParts(text).lengthAt(1, 128), 128U);
}

TEST(JoinWords, ReportsWhetherTwoTextsMakeOneWord) {
  EXPECT_TRUE(KQ::engines::joinWords("qing", "yin"));
  EXPECT_TRUE(KQ::engines::joinWords("é", "2"));
  EXPECT_FALSE(KQ::engines::joinWords("qing", "银"));
  EXPECT_FALSE(KQ::engines::joinWords("qing ", "yin"));
  EXPECT_FALSE(KQ::engines::joinWords("qing", "。"));
  EXPECT_FALSE(KQ::engines::joinWords("", "yin"));
  EXPECT_FALSE(KQ::engines::joinWords("qing", ""));
}

TEST(ToLowerCase, KnowsAllScripts) {
  EXPECT_EQ(KQ::engines::toLowerCase("ABC Œ ПРИВЕТ Ω 日 1\xFF"), "abc œ привет ω 日 1\xFF");
}

}  // namespace
