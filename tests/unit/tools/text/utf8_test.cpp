#include "text/utf8.hpp"

#include <gtest/gtest.h>

#include "support/row_name.hpp"

namespace {

struct Row {
  std::string name;
  std::string text;
  std::string speakable;
  bool foreign;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << testing::PrintToString(row.text);
}

class Speakable : public testing::TestWithParam<Row> {};

TEST_P(Speakable, KeepsWhatCanBeSpokenInItsPlace) {
  std::string text = GetParam().text;

  const bool foreign = tool::makeSpeakable(text);

  EXPECT_EQ(text, GetParam().speakable);
  EXPECT_EQ(foreign, GetParam().foreign);
}

INSTANTIATE_TEST_SUITE_P(
    , Speakable,
    testing::Values(
        Row{"Ascii", "Hello, world!", "Hello, world!", false},
        Row{"WhiteSpace", "a\tb\r\nc", "a\tb\r\nc", false},
        Row{"TwoToFourBytes", "é…𝄞", "é…𝄞", false},
        Row{"Nul", std::string("a\0b", 3), "a b", false},
        Row{"Escape", "a\x1B[31mb", "a [31mb", false}, Row{"Delete", "a\x7F", "a ", false},
        Row{"ControlOfTwoBytes", "a\xC2\x85z", "a  z", false},
        Row{"NoBreakSpaceStays", "a\xC2\xA0z", "a\xC2\xA0z", false},
        Row{"ByteOrderMark", "\xEF\xBB\xBFHi", "   Hi", false},
        Row{"Latin1", "caf\xE9 noir", "caf  noir", true},
        Row{"LoneContinuation", "a\x80z", "a z", true}, Row{"CutOff", "a\xE2\x82", "a  ", true},
        Row{"CutOffThenAscii", "\xE2\x82z", "  z", true}, Row{"Overlong", "\xC0\xAF/", "  /", true},
        Row{"OverlongOfThree", "\xE0\x80\xAF", "   ", true},
        Row{"Surrogate", "\xED\xA0\x80", "   ", true},
        Row{"BeyondUnicode", "\xF4\x90\x80\x80", "    ", true},
        Row{"Never", "\xFE\xFF", "  ", true}, Row{"Empty", "", "", false}),
    test::RowName());

TEST(OneLine, HasNoLineEndsOrControls) {
  EXPECT_EQ(tool::oneLine("a\nb\r\x1B\tc"), "a b   c");
}

TEST(FirstCharacters, CountsCharactersNotBytes) {
  EXPECT_EQ(tool::firstColumns("éàü", 2), "éà");
  EXPECT_EQ(tool::firstColumns("ab", 5), "ab");
  EXPECT_EQ(tool::firstColumns("\xFFz", 1), "\xFF");
  EXPECT_EQ(tool::firstColumns("日本語", 5), "日本");
}

TEST(Blank, IsWhiteSpaceAlone) {
  EXPECT_TRUE(tool::isBlank(""));
  EXPECT_TRUE(tool::isBlank(" \t\r\n\v\f"));
  EXPECT_FALSE(tool::isBlank(" . "));
}

}  // namespace
