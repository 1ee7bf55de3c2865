#include "espeak_ng/clause_limits.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/repeat.hpp"
#include "support/row_name.hpp"

namespace {

using KQ::engines::EspeakText;
using KQ::engines::limitClauses;
using test::repeated;
using ::testing::HasSubstr;
using ::testing::SizeIs;

EspeakText written(const std::string& text, bool isMarkup = false) {
  EspeakText all;
  all.text = text;
  all.isMarkup = isMarkup;
  all.runs.push_back({0, 0, 0});
  return all;
}

std::string limited(const std::string& text, bool isMarkup = false) {
  EspeakText all = written(text, isMarkup);
  limitClauses(all);
  return all.text;
}

/// The clauses that were made of a text.
std::vector<std::string> clauses(const std::string& text) {
  const std::string all = limited(text);
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (std::size_t end = all.find(",\n"); end != std::string::npos; end = all.find(",\n", begin)) {
    parts.push_back(all.substr(begin, end - begin));
    begin = end + 2;
  }
  parts.push_back(all.substr(begin));
  return parts;
}

struct OrdinaryRow {
  const char* name;
  std::string text;
};

const OrdinaryRow ordinaryTexts[] = {
    {"Empty", ""},
    {"Sentence", "Good morning, how are you today? It's 7:45, and 21.5 degrees outside."},
    {"SixtyWordsWithoutPunctuation", repeated("and then we all went to the ", 8) + "end."},
    {"ManySentences", repeated("This sentence is one of very many that all sound alike. ", 100)},
    {"LongWord", "Rindfleischetikettierungsüberwachungsaufgabenübertragungsgesetz"},
    {"LongTurkishWord", "muvaffakiyetsizleştiricileştiriveremeyebileceklerimizdenmişsinizcesine"},
    {"Abbreviations", "Die U.S.A., z. B. in Washington D.C., d. h. u. a. am 5. Mai."},
    {"NamesWithHyphens",
     "Anne-Marie (so-called) met X-ray-like \"half-truths\" -- and -5 degrees."},
    {"ApostrophesInFrench", "L'homme d'aujourd'hui n'a qu'à s'en aller, c'est-à-dire s'il l'ose."},
    {"RussianParagraph", repeated("Все счастливые семьи похожи друг на друга. ", 30)},
    {"LongRussianClause", repeated("каждая несчастливая семья по своему ", 8)},
    {"ChineseParagraph", repeated("你好，今天天气很好。我们去公园吧！", 30)},
    {"JapaneseParagraph", repeated("こんにちは、おげんきですか。", 30)},
    {"KoreanParagraph", repeated("안녕하세요, 만나서 반갑습니다. ", 30)},
    {"ArabicParagraph", repeated("مرحبا، كيف حالك اليوم؟ ", 10)},
    {"PhoneNumber", "Call +49 (0)30 123 456-78 or 112, extension 4."},
    {"NumbersInASentence", "In 1989 there were 1,234,567 people, 45.7 % of 2,701,234 in 1950."},
};

class OrdinaryText : public ::testing::TestWithParam<OrdinaryRow> {};

TEST_P(OrdinaryText, StaysAsItIs) {
  EXPECT_EQ(limited(GetParam().text), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, OrdinaryText, ::testing::ValuesIn(ordinaryTexts), test::RowName());

struct LimitRow {
  const char* name;
  std::string text;
  std::size_t longest;  ///< of a clause, in bytes
};

const LimitRow limitRows[] = {
    {"DottedLetters", repeated("A.", 500), 24},
    {"DottedLettersWithBlanks", repeated("a . ", 500), 48},
    {"DottedGreekLetters", repeated("θ.", 500), 36},
    {"DottedLettersWithMarks", repeated("a\u0301.", 500), 48},
    {"PairsOfDottedLetters", repeated("M.C.", 500), 24},
    {"Consonants", std::string(1000, 'b'), 16},
    {"LongWord", repeated("ba", 1000), 100},
    {"LongCyrillicWord", repeated("ба", 1000), 80},
    {"Kana", repeated("か", 1000), 99},
    {"Digits", std::string(1000, '7'), 47},
    {"Decimals", repeated(".5 ", 1000), 120},
    {"Apostrophes", repeated("s'", 1000), 16},
    {"CurlyApostrophes", repeated("s’", 1000), 32},
    {"Percents", std::string(1000, '%'), 28},
    {"Superscripts", "S." + repeated("²", 1000), 80},
    {"ShortWords", repeated("usw ", 1000), 260},
    {"Words", repeated("words ", 1000), 480},
    {"Hangul", repeated("값이 ", 1000), 210},
    {"Han", repeated("廣", 1000), 150},
    {"Hyphens", std::string(1000, '-'), 100},
};

class LimitedText : public ::testing::TestWithParam<LimitRow> {};

TEST_P(LimitedText, HasNoLongerClauses) {
  for (const std::string& clause : clauses(GetParam().text)) {
    EXPECT_LE(clause.size(), GetParam().longest) << clause;
  }
}

TEST_P(LimitedText, KeepsEveryCharacter) {
  std::string all;
  for (const std::string& clause : clauses(GetParam().text)) {
    all += clause;
  }
  EXPECT_EQ(all, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Table, LimitedText, ::testing::ValuesIn(limitRows), test::RowName());

TEST(ClauseLimits, ClauseEndsAtALineFeedRatherThanAtABlank) {
  for (const std::string& clause : clauses(repeated("Raum 101 18,1 Grad\n", 40))) {
    EXPECT_THAT(clause, ::testing::AnyOf(::testing::EndsWith("Grad"), ::testing::EndsWith("\n")));
  }
}

TEST(ClauseLimits, ClauseEndsAtABlankRatherThanInAWord) {
  for (const std::string& clause : clauses(repeated("123456 ", 60))) {
    EXPECT_THAT(clause, ::testing::MatchesRegex(" ?123456.*|"));
  }
}

TEST(ClauseLimits, EndOfASentenceBeginsANewClause) {
  const std::string text = repeated("The room was number 1234 then. ", 100);
  EXPECT_EQ(limited(text), text);
}

TEST(ClauseLimits, CommaBeginsANewClause) {
  const std::string text = repeated("room 1234, ", 100);
  EXPECT_EQ(limited(text), text);
}

TEST(ClauseLimits, FullStopBeforeLowerCaseIsNoEnd) {
  EXPECT_THAT(limited(repeated("123456 usw. und ", 100)), HasSubstr(",\n"));
}

TEST(ClauseLimits, EmptyLineBeginsANewClause) {
  const std::string text = repeated("room 1234\n\n", 100);
  EXPECT_EQ(limited(text), text);
}

TEST(ClauseLimits, TagsBetweenDottedLettersCountForNothing) {
  const std::string text = repeated("A<mark name=\"1\"/>.", 100);
  EXPECT_THAT(limited(text, true), HasSubstr(",\n"));
}

TEST(ClauseLimits, EntityOfMarkupIsNotDivided) {
  const std::string text = repeated("&amp;", 200);
  EXPECT_EQ(limited(text, true).find("&,"), std::string::npos);
  EXPECT_THAT(limited(text, true), HasSubstr("&amp;,\n&amp;"));
}

TEST(ClauseLimits, HyphenBeforeTheFirstWordBecomesABlank) {
  EXPECT_EQ(limited("(-A"), "( A");
  EXPECT_EQ(limited("---A"), "-- A");
  EXPECT_EQ(limited(".-A"), ". A");
  EXPECT_EQ(limited("one.(-A"), "one.( A");
}

TEST(ClauseLimits, HyphenAfterABlankOrAWordStays) {
  EXPECT_EQ(limited("-A b-c (d-e) 50%-ig -5"), "-A b-c (d-e) 50%-ig -5");
}

TEST(ClauseLimits, PlacesInTheSourceStayKnown) {
  EspeakText all = written(repeated("A.", 30));
  limitClauses(all);

  ASSERT_THAT(all.runs, SizeIs(3));
  for (const EspeakText::Run& run : all.runs) {
    EXPECT_EQ(all.text.substr(run.byte, 2), "A.");
    EXPECT_EQ(run.character, run.byte);
  }
  EXPECT_EQ(all.runs[1].source, 24U);
  EXPECT_EQ(all.runs[2].source, 48U);
}

TEST(ClauseLimits, PlacesAreCountedInCharacters) {
  EspeakText all = written(repeated("θ.", 30));
  limitClauses(all);

  ASSERT_THAT(all.runs, SizeIs(3));
  EXPECT_EQ(all.runs[1].source, 36U);
  EXPECT_EQ(all.runs[1].byte, 38U);
  EXPECT_EQ(all.runs[1].character, 26U);
}

}  // namespace
