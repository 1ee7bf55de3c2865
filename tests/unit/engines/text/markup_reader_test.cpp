#include "text/markup_reader.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "support/repeat.hpp"
#include "support/row_name.hpp"

namespace {

using KQ::engines::MarkupItem;
using KQ::engines::MarkupReader;
using test::repeat;
using Kind = MarkupItem::Kind;

constexpr const char* kindNames[] = {"text",
#define KQTTS_INLINE_TAG(kind, name, form, lowest, highest) #kind,
#include "text/inline_tags.inc"
#undef KQTTS_INLINE_TAG
                                     "ignored"};

/// The pieces of a text, written so: text in quotes, tags as their kind and value.
std::string pieces(const std::string& text) {
  std::string all;
  MarkupReader reader(text);
  while (const std::optional<MarkupItem> item = reader.next()) {
    all += all.empty() ? "" : " ";
    if (item->kind == Kind::text) {
      all += '"' + text.substr(item->offset, item->length) + '"';
    } else {
      all += kindNames[static_cast<std::size_t>(item->kind)];
      all += ':' + std::to_string(item->value);
    }
  }
  return all;
}

struct Row {
  const char* name;
  std::string text;
  std::string expected;
};

std::ostream& operator<<(std::ostream& stream, const Row& row) {
  return stream << row.text;
}

const Row rows[] = {
    {"Empty", "", ""},
    {"TextAlone", "Hello", "\"Hello\""},
    {"EachTag", R"(\Pau=5\\Vol=6\\RSPD=70\\VCT=80\\RST\\mrk=9\)",
     "pause:5 volume:6 speed:70 pitch:80 reset:0 mark:9"},
    {"TagBetweenTexts", R"(Hello\Pau=500\world)", "\"Hello\" pause:500 \"world\""},
    {"AnyCase", R"(\PAU=1\\rst\\Mrk=2\)", "pause:1 reset:0 mark:2"},
    {"LowerBounds", R"(\Pau=-1\\Vol=-1\\RSPD=49\\VCT=49\)", "pause:0 volume:0 speed:50 pitch:50"},
    {"UpperBounds", R"(\Pau=600001\\Vol=101\\RSPD=401\\VCT=201\)",
     "pause:600000 volume:100 speed:400 pitch:200"},
    {"NumbersBeyondInt", R"(\Vol=99999999999\\mrk=-99999999999\\mrk=99999999999\)",
     "volume:100 mark:-2147483648 mark:2147483647"},
    {"SignsAndBlanks", R"(\mrk= +7 \\mrk= -7\)", "mark:7 mark:-7"},
    {"NumberThenLetters", R"(\Pau=500ms\)", "pause:500"},
    {"PauseMark", R"(\mrkpause=300\)", "mark:65236 pause:300"},
    {"RewrittenPauseMark", R"(\mrk=65236\ )", "mark:65236 pause:300 \" \""},
    {"LongestPauseMark", R"(\mrk=32769\\mrk=32768\)", "mark:32769 pause:32767 mark:32768"},
    {"ShortestPauseMark", R"(\mrk=65535\\mrk=65536\)", "mark:65535 pause:1 mark:65536"},
    {"PauseMarkOutOfRange", R"(\mrkpause=0\\mrkpause=40000\)",
     "mark:65535 pause:1 mark:32769 pause:32767"},
    {"StyleAndLast", R"(\Style=neutral\\last\)", "style:0 last:0"},
    {"StyleOfTwoWords", R"(\Style=very happy\ Hello)", "style:0 \" Hello\""},
    {"Unknown", R"(\Emph\\Foo=bar\)", "ignored:0 ignored:0"},
    {"WithoutNumber", R"(\Pau=\\Vol=loud\\Vol\)", "ignored:0 ignored:0 ignored:0"},
    {"NotClosed", R"(\Pau=500 Hello)", "ignored:0 \" Hello\""},
    {"NotClosedAtTheEnd", R"(Hello\Pau=500)", "\"Hello\" ignored:0"},
    {"NotClosedLast", R"(Hello \last)", "\"Hello \" ignored:0"},
    {"NotClosedReset", R"(\RST Hello)", "ignored:0 \" Hello\""},
    {"NotClosedBeforeATag", R"(\Pau=500 Hello \mrk=1\)", "ignored:0 \" Hello \" mark:1"},
    {"LoneBackslash", R"(AC\DC)", "\"AC\" \"\\DC\""},
    {"TextBetweenBackslashes", R"(AC\DC and C:\dir)", "\"AC\" \"\\DC and C:\" \"\\dir\""},
    {"ThreeBackslashes", R"(\\\)", R"("\" "\" "\")"},
    {"EmptyName", R"(\=5\)", R"("\=5" "\")"},
    {"LongTag", "\\Pau=" + std::string(250, '0') + "5\\", "pause:5"},
    {"TooLongForATag", "\\Style=" + std::string(250, 'x') + "\\",
     "\"\\Style=" + std::string(250, 'x') + "\" \"\\\""},
};

class Markup : public ::testing::TestWithParam<Row> {};

TEST_P(Markup, IsReadPieceByPiece) {
  EXPECT_EQ(pieces(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, Markup, ::testing::ValuesIn(rows), test::RowName());

TEST(MarkupPlaces, CoverTheText) {
  const std::string text = R"(One \mrk=1\ two \Foo=x three\Pau=5\\\ four)";
  MarkupReader reader(text);
  std::size_t end = 0;
  while (const std::optional<MarkupItem> item = reader.next()) {
    EXPECT_EQ(item->offset, end);
    end += item->length;
  }
  EXPECT_EQ(end, text.size());
}

struct LongRow {
  const char* name;
  std::string text;
  std::size_t length;  ///< of the first piece
};

constexpr std::size_t longest = MarkupReader::longestText;

const LongRow longRows[] = {
    {"OfTheLongestSize", std::string(longest, 'a'), longest},
    {"WithoutBlanks", std::string(longest + 1, 'a'), longest},
    {"OfWords", repeat("words ", 2 * longest), longest / 6 * 6},
    {"OfLongCharacters", repeat("日", 2 * longest), longest / 3 * 3},
    {"OfBytesThatBeginNoCharacter", std::string(2 * longest, '\x80'), longest - 4},
    {"WithATag", std::string(longest - 1, ' ') + "\\rst\\", longest - 1},
};

class LongText : public ::testing::TestWithParam<LongRow> {};

TEST_P(LongText, ComesInPieces) {
  MarkupReader reader(GetParam().text);
  EXPECT_EQ(reader.next()->length, GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(Table, LongText, ::testing::ValuesIn(longRows), test::RowName());

}  // namespace
