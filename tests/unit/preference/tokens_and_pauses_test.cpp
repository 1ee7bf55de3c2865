#include <gmock/gmock.h>

#include <climits>
#include <kqtts/tts_preference.hpp>

#include "support/global_locale.hpp"
#include "support/repeat.hpp"
#include "support/row_name.hpp"

namespace {

using test::repeated;
using testing::ElementsAre;
using testing::ElementsAreArray;
using namespace std::string_literals;

// tokenizeString -----------------------------------------------------------------------------

struct Tokens {
  const char* name;
  std::string text;
  std::string delimiters;
  std::vector<std::string> tokens;
};

void PrintTo(const Tokens& row, std::ostream* stream) {
  *stream << row.text;
}

class TokenizeString : public testing::TestWithParam<Tokens> {};

TEST_P(TokenizeString, GivesTheTokens) {
  std::string text = GetParam().text;
  std::vector<std::string> tokens;

  KQ::tokenizeString(text, tokens, GetParam().delimiters);

  EXPECT_THAT(tokens, ElementsAreArray(GetParam().tokens));
  EXPECT_EQ(text, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TokenizeString,
    testing::Values(
        Tokens{"SpacesAndCommas", "  red,,green blue  ", " ,", {"red", "green", "blue"}},
        Tokens{"NoDelimiterInTheText", "red", " ,", {"red"}},
        Tokens{"NoDelimiters", " red green ", "", {" red green "}},
        Tokens{"EmptyText", "", " ,", {}}, Tokens{"EmptyTextNoDelimiters", "", "", {}},
        Tokens{"OnlyDelimiters", " , ,", " ,", {}}, Tokens{"OneByte", "a", " ", {"a"}},
        Tokens{"AtTheEdges", "a b", " ", {"a", "b"}},
        Tokens{"NulInTheText", "a\0b c"s, " ", {"a\0b"s, "c"}},
        Tokens{"NulAsDelimiter", "a\0b"s, "\0"s, {"a", "b"}},
        Tokens{"BytesNotCharacters",
               "a\u00e9b",
               "\xC3",
               {"a",
                "\xA9"
                "b"}},
        Tokens{"LongTokens",
               std::string(100, 'a') + ' ' + std::string(50, 'b'),
               " ",
               {std::string(100, 'a'), std::string(50, 'b')}}),
    test::RowName());

TEST(TokenizeStringTest, AppendsToTheTokensThatAreThere) {
  std::string text = "b c";
  std::vector<std::string> tokens = {"a"};

  KQ::tokenizeString(text, tokens, " ");

  EXPECT_THAT(tokens, ElementsAre("a", "b", "c"));
}

TEST(TokenizeStringTest, AppendsNothingForATextOfDelimiters) {
  std::string text = "  ";
  std::vector<std::string> tokens = {"a"};

  KQ::tokenizeString(text, tokens, " ");

  EXPECT_THAT(tokens, ElementsAre("a"));
}

TEST(TokenizeStringTest, MakesRoomForTheTokensAndNoMore) {
  std::string text = "  red,,green blue  ";
  std::vector<std::string> tokens;

  KQ::tokenizeString(text, tokens, " ,");

  EXPECT_EQ(tokens.capacity(), 3U);
}

TEST(TokenizeStringTest, AppendingOftenDoesNotMoveTheTokensEachTime) {
  std::string text = "a";
  std::vector<std::string> tokens;
  std::size_t moves = 0;
  for (int i = 0; i < 1000; ++i) {
    const std::size_t before = tokens.capacity();
    KQ::tokenizeString(text, tokens, " ");
    moves += tokens.capacity() != before ? 1U : 0U;
  }

  EXPECT_LE(moves, 11U);
}

// makeSpecificId -----------------------------------------------------------------------------

struct Id {
  const char* name;
  int id;
  int specificId;
};

class MakeSpecificId : public testing::TestWithParam<Id> {};

TEST_P(MakeSpecificId, CountsDownFrom65536) {
  EXPECT_EQ(KQ::makeSpecificId(GetParam().id), GetParam().specificId);
}

INSTANTIATE_TEST_SUITE_P(Ids, MakeSpecificId,
                         testing::Values(Id{"One", 1, 65535}, Id{"Zero", 0, 65536},
                                         Id{"All", 65536, 0}, Id{"More", 65537, -1},
                                         Id{"Negative", -5, 65541},
                                         Id{"Largest", INT_MAX, 65536 - INT_MAX},
                                         Id{"Smallest", INT_MIN, INT_MIN + 65536},
                                         Id{"JustOutOfRange", INT_MIN + 65536, INT_MIN}),
                         test::RowName());

// replaceMrkPause and replaceIncorrectApostrophe ---------------------------------------------

struct Rewritten {
  const char* name;
  std::string text;
  std::string result;
};

void PrintTo(const Rewritten& row, std::ostream* stream) {
  *stream << row.text;
}

class ReplaceMrkPause : public testing::TestWithParam<Rewritten> {};

TEST_P(ReplaceMrkPause, RewritesTheMarks) {
  std::string text = GetParam().text;

  KQ::replaceMrkPause(text);

  EXPECT_EQ(text, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReplaceMrkPause,
    testing::Values(
        Rewritten{"Empty", "", ""}, Rewritten{"NoMark", "Hello world", "Hello world"},
        Rewritten{"Mark", R"(Hello\mrkpause=300\world)", R"(Hello\mrk=65236\ world)"},
        Rewritten{"One", R"(\mrkpause=1\)", R"(\mrk=65535\ )"},
        Rewritten{"Word", R"(\mrkpause=abc\)", R"(\mrk=65536\ )"},
        Rewritten{"Negative", R"(\mrkpause=-5\)", R"(\mrk=65541\ )"},
        Rewritten{"NoValue", R"(a\mrkpause=\b)", R"(a\mrk=65536\ b)"},
        Rewritten{"NoValues", R"(\mrkpause=\\mrkpause=\\mrkpause=\x)",
                  R"(\mrk=65536\ \mrk=65536\ \mrk=65536\ x)"},
        Rewritten{"Two", R"(a\mrkpause=1\b\mrkpause=2\c)", R"(a\mrk=65535\ b\mrk=65534\ c)"},
        Rewritten{"LargeId", R"(\mrkpause=65537\)", R"(\mrk=-1\ )"},
        Rewritten{"PlusAndSpace", "\\mrkpause= \t\n+7x\\", R"(\mrk=65529\ )"},
        Rewritten{"EveryWhiteSpace", "\\mrkpause=\v\f\r7\\", R"(\mrk=65529\ )"},
        Rewritten{"TwoSigns", R"(\mrkpause=+-7\\mrkpause=-+7\\mrkpause=++7\)",
                  R"(\mrk=65536\ \mrk=65536\ \mrk=65536\ )"},
        Rewritten{"SpaceBehindTheSign", R"(\mrkpause=- 7\)", R"(\mrk=65536\ )"},
        Rewritten{"Fraction", R"(\mrkpause=1.5\)", R"(\mrk=65535\ )"},
        Rewritten{"LeadingZeros", R"(\mrkpause=0000000000010\)", R"(\mrk=65526\ )"},
        Rewritten{"NineDigits", R"(\mrkpause=999999999\)", R"(\mrk=-999934463\ )"},
        Rewritten{"LargestInteger", R"(\mrkpause=2147483647\)", R"(\mrk=-2147418111\ )"},
        Rewritten{"SmallestInteger", R"(\mrkpause=-2147483648\)", R"(\mrk=-2147418112\ )"},
        Rewritten{"BeyondInteger", R"(\mrkpause=4294967297\)", R"(\mrk=65535\ )"},
        Rewritten{"BeyondLong", R"(\mrkpause=99999999999999999999\)", R"(\mrk=65537\ )"},
        Rewritten{"BeyondNegativeLong", R"(\mrkpause=-99999999999999999999\)", R"(\mrk=65536\ )"},
        Rewritten{"NulInTheValue", "\\mrkpause=1\0002\\x"s, R"(\mrk=65535\ x)"},
        Rewritten{"NulBefore", "a\0\\mrkpause=1\\"s, "a\0\\mrk=65535\\ "s},
        Rewritten{"Unclosed", R"(a\mrkpause=300)", R"(a\mrkpause=300)"},
        Rewritten{"UnclosedAfterAClosedOne", R"(\mrkpause=1\\mrkpause=2)",
                  R"(\mrk=65535\ \mrkpause=2)"},
        Rewritten{"SwallowsUpToTheNextTag", R"(\mrkpause=1 and \mrkpause=2\ x)",
                  R"(\mrk=65535\ mrkpause=2\ x)"},
        Rewritten{"OtherCase", R"(\MRKPAUSE=1\)", R"(\MRKPAUSE=1\)"},
        Rewritten{"NoBackslash", R"(mrkpause=1\)", R"(mrkpause=1\)"},
        Rewritten{"OtherTags", R"(\mrk=1\\Pau=2\)", R"(\mrk=1\\Pau=2\)"},
        Rewritten{"CutMark", R"(\mrkpause)", R"(\mrkpause)"},
        Rewritten{"TwoBackslashes", R"(\\mrkpause=1\)", R"(\\mrk=65535\ )"}),
    test::RowName());

class ReplaceIncorrectApostrophe : public testing::TestWithParam<Rewritten> {};

TEST_P(ReplaceIncorrectApostrophe, PutsAsciiApostrophes) {
  std::string text = GetParam().text;

  KQ::replaceIncorrectApostrophe(text);

  EXPECT_EQ(text, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ReplaceIncorrectApostrophe,
    testing::Values(Rewritten{"Empty", "", ""}, Rewritten{"Word", "it\u2019s", "it's"},
                    Rewritten{"Several", "\u2019a\u2019\u2019b\u2019", "'a''b'"},
                    Rewritten{"TwoBytes", "\xE2\x80", "\xE2\x80"},
                    Rewritten{"TwoBytesAtTheEnd", "\u2019\xE2\x80", "'\xE2\x80"},
                    Rewritten{"OneByteAtTheEnd", "it\xE2", "it\xE2"},
                    Rewritten{"CutByAnother", "\xE2\x80\xE2\x80\x99", "\xE2\x80'"},
                    Rewritten{"TailAlone", "\x80\x99", "\x80\x99"},
                    Rewritten{"OtherQuotationMarks", "\u2018\u201B\u2032\u2033",
                              "\u2018\u201B\u2032\u2033"},
                    Rewritten{"Nul", "a\0\u2019"s, "a\0'"s}),
    test::RowName());

TEST(ReplaceMrkPauseTest, WritesTheSameNumbersInEveryLocale) {
  const test::GlobalLocale locale(test::localeOfOtherPunctuation());
  std::string text = R"(\mrkpause=300\)";

  KQ::replaceMrkPause(text);

  EXPECT_EQ(text, R"(\mrk=65236\ )");
}

// If the cost grew faster than the text, the test program would exceed its time limit.
constexpr std::size_t millions = 2000000;

TEST(ReplaceMrkPauseTest, LongTextsAreRewrittenLikeShortOnes) {
  std::string text = repeated(R"(a\mrkpause=\)", millions);

  KQ::replaceMrkPause(text);

  EXPECT_TRUE(text == repeated(R"(a\mrk=65536\ )", millions));
}

TEST(ReplaceIncorrectApostropheTest, LongTextsAreRewrittenLikeShortOnes) {
  std::string text = repeated("a\u2019", millions);

  KQ::replaceIncorrectApostrophe(text);

  EXPECT_TRUE(text == repeated("a'", millions));
}

// countUtf8Chars -----------------------------------------------------------------------------

struct Count {
  const char* name;
  std::string text;
  std::size_t count;
};

void PrintTo(const Count& row, std::ostream* stream) {
  *stream << row.text;
}

class CountUtf8Chars : public testing::TestWithParam<Count> {};

TEST_P(CountUtf8Chars, CountsWhatIsNoContinuation) {
  EXPECT_EQ(KQ::countUtf8Chars(GetParam().text.c_str()), GetParam().count);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CountUtf8Chars,
    testing::Values(Count{"Empty", "", 0}, Count{"Ascii", "abc", 3}, Count{"TwoBytes", "\u00e9", 1},
                    Count{"TwoOfThreeBytes", "\u65e5\u672c", 2},
                    Count{"FourBytes", "\U0001F600", 1}, Count{"StrayContinuations", "\x80\xBF", 0},
                    Count{"InvalidLeads", "\xC0\xFF\x7F", 3}, Count{"EndsAtNul", "ab\0cd"s, 2},
                    Count{"BlockOfContinuations", std::string(100, '\x80'), 0},
                    Count{"BlockAndTail", std::string(100, 'a') + "\u00e9", 101},
                    Count{"ExactBlock", std::string(4096, 'a'), 4096},
                    Count{"ManyBlocks", repeated("\u65e5", 100000), 100000},
                    Count{"BlocksOfLeads", std::string(100001, '\xFF'), 100001}),
    test::RowName());

TEST(CountUtf8CharsTest, CountsFromEveryAlignment) {
  const std::string text = repeated("a\u00e9", 5000);
  for (std::size_t offset = 0; offset < 66; offset += 3) {
    EXPECT_EQ(KQ::countUtf8Chars(text.c_str() + offset), 10000 - offset / 3 * 2);
  }
}

}  // namespace
