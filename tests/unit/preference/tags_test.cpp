#include <gmock/gmock.h>

#include <array>
#include <kqtts/tts_preference.hpp>
#include <locale>

#include "support/global_locale.hpp"
#include "support/row_name.hpp"

namespace {

using namespace std::string_literals;

// checkLastTag -------------------------------------------------------------------------------

struct Answer {
  const char* name;
  std::string text;
  bool answer;
};

void PrintTo(const Answer& row, std::ostream* stream) {
  *stream << row.text;
}

class CheckLastTag : public testing::TestWithParam<Answer> {};

TEST_P(CheckLastTag, FindsTheTag) {
  EXPECT_EQ(KQ::checkLastTag(GetParam().text), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, CheckLastTag,
    testing::Values(Answer{"Tag", R"(\last\)", true}, Answer{"InTheMiddle", R"(a\last\b)", true},
                    Answer{"Unclosed", R"(a\last)", true},
                    Answer{"LongerTag", R"(\lastWord)", true},
                    Answer{"BehindNul", "\0\\last"s, true}, Answer{"UpperCase", R"(\LAST\)", false},
                    Answer{"NoBackslash", "last", false}, Answer{"Cut", R"(\las)", false},
                    Answer{"Empty", "", false}),
    test::RowName());

// replaceTags --------------------------------------------------------------------------------

struct Replaced {
  const char* name;
  std::string text;
  std::string replacement;
  std::string result;
};

void PrintTo(const Replaced& row, std::ostream* stream) {
  *stream << row.text;
}

class ReplaceTags : public testing::TestWithParam<Replaced> {};

TEST_P(ReplaceTags, GivesTheText) {
  EXPECT_EQ(KQ::replaceTags(GetParam().text, GetParam().replacement.c_str()), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    Tags, ReplaceTags,
    testing::Values(
        Replaced{"Tag", R"(Hello\Pau=500\world)", " ", "Hello world"},
        Replaced{"EmptyReplacement", R"(Hello\Pau=500\world)", "", "Helloworld"},
        Replaced{"AtBothEnds", R"(\Vol=50\Hello\RST\)", " ", "Hello"},
        Replaced{"Pau", R"(a\Pau=1\b)", "-", "a-b"}, Replaced{"Vol", R"(a\Vol=1\b)", "-", "a-b"},
        Replaced{"Vct", R"(a\VCT=1\b)", "-", "a-b"}, Replaced{"Rspd", R"(a\RSPD=1\b)", "-", "a-b"},
        Replaced{"Rst", R"(a\RST\b)", "-", "a-b"}, Replaced{"Mrk", R"(a\mrk=65236\b)", "-", "a-b"},
        Replaced{"Style", R"(a\Style=x\b)", "-", "a-b"},
        Replaced{"Last", R"(a\last\b)", "-", "a-b"},
        Replaced{"LongerThanRst", R"(a\RSTX\b)", "-", "a-b"},
        Replaced{"LongerThanLast", R"(a\lastsentence\b)", "-", "a-b"},
        Replaced{"AnyCase", R"(\pau=1\\VOL=2\\vct=3\\rspd=4\\rst\\MRK=5\\sTyLe=6\\LAST\)", "-",
                 "--------"},
        Replaced{"PauseMark", R"(a\mrkpause=300\b)", "-", R"(a\mrkpause=300\b)"},
        Replaced{"NoEqualsSign", R"(a\Pau\b\Vol1\c)", "-", R"(a\Pau\b\Vol1\c)"},
        Replaced{"Unclosed", R"(a\Pau=100)", "-", R"(a\Pau=100)"},
        Replaced{"UnclosedAfterAClosedOne", R"(\RST\a\Pau=100)", "-", R"(-a\Pau=100)"},
        Replaced{"UnknownBeforeKnown", R"(\Emph\ a\Pau=1\b)", "-", R"(\Emph\ a-b)"},
        Replaced{"UnknownSharesItsBackslash", R"(\Emph\Pau=1\b)", "-", R"(\Emph-b)"},
        Replaced{"ValueOfAnyBytes", "a\\Pau= x\n\0y\\b"s, "-", "a-b"},
        Replaced{"NoTag", " \t\n Hello world \v\f\r", "-", "Hello world"},
        Replaced{"NothingLeft", R"( \RST\ )", " ", ""}, Replaced{"Empty", "", "-", ""},
        Replaced{"LoneBackslash", "\\", "-", "\\"},
        Replaced{"Backslashes", R"(\\\\)", "-", R"(\\\\)"},
        Replaced{"SpaceInsideStays", R"(a  \RST\  b)", "", "a    b"},
        Replaced{"NulIsNoSpace", "\0a\0"s, "-", "\0a\0"s},
        Replaced{"LongerReplacement", R"(a\RST\b\RST\c)", "[pause]", "a[pause]b[pause]c"}),
    test::RowName());

INSTANTIATE_TEST_SUITE_P(
    ReplacementsWithBackslashes, ReplaceTags,
    testing::Values(
        Replaced{"Lone", R"(a\RST\b)", "\\", R"(a\b)"},
        Replaced{"OpensATagWithWhatFollows", R"(a\RST\Pau=1\b)", "\\", R"(a\b)"},
        Replaced{"OpensATagThatIsNotClosed", R"(a\RST\Pau=1)", "\\", R"(a\Pau=1)"},
        Replaced{"OpensOneAfterAnother", R"(\RST\Pau=1\RST\Vol=2\b)", "\\", R"(\b)"},
        Replaced{"KeepsItsHeadEachTime", R"(\RST\u=1\u=2\u=3\b)", R"(x\Pa)", R"(xxxx\Pab)"},
        Replaced{"WholePrefix", R"(\RST\1\2\3)", R"(x\Pau=)", R"(xxx\Pau=3)"},
        Replaced{"LongerThanAnyPrefix", R"(\RST\1\b)", R"(\Style=slow)", R"(\Style=slowb)"},
        Replaced{"UnknownTagInside", R"(a\RST\b)", R"(\x\)", R"(a\x\b)"},
        Replaced{"UnknownTagThenAnOpenOne", R"(a\RST\RST\b)", R"(\x\)", R"(a\x\x\b)"},
        Replaced{"CompleteTag", R"(a\RST\b)", R"(\Pau=1\)", R"(a\Pau=1\b)"},
        Replaced{"CompleteTags", R"(a\RST\b\Vol=1\c)", R"(\RST\\RST\)",
                 R"(a\RST\\RST\b\RST\\RST\c)"},
        Replaced{"CompleteTagAndAnOpenOne", R"(a\RST\u=1\b)", R"(\RST\ \Pa)", R"(a\RST\ \Pau=1\b)"},
        Replaced{"CompleteTagAfterAnUnknownOne", R"(a\RST\b)", R"(\x\last\)", R"(a\x\last\b)"}),
    test::RowName());

/// Treats '1' as the upper case of 'P', and '_' as a space.
class OtherCharacters : public std::ctype<char> {
 public:
  OtherCharacters() : std::ctype<char>(table().data()) {}

 private:
  static std::array<mask, table_size>& table() {
    static std::array<mask, table_size> masks = [] {
      std::array<mask, table_size> result{};
      std::copy_n(classic_table(), table_size, result.begin());
      result['_'] = space;
      return result;
    }();
    return masks;
  }
  char do_toupper(char character) const override {
    return character == 'P' ? '1' : std::ctype<char>::do_toupper(character);
  }
  const char* do_toupper(char* begin, const char* end) const override {
    for (; begin != end; ++begin) {
      *begin = do_toupper(*begin);
    }
    return end;
  }
};

TEST(ReplaceTagsTest, TheGlobalLocaleDefinesCasesAndSpaces) {
  const test::GlobalLocale locale(std::locale(std::locale::classic(), new OtherCharacters));

  EXPECT_EQ(KQ::replaceTags(R"(_ a\1au=1\b\pau=2\c\VoL=3\d_)", "-"), R"(a-b\pau=2\c-d)");
}

TEST(ReplaceTagsTest, LongTextsAreReplacedLikeShortOnes) {
  const std::size_t times = 1000000;
  std::string text;
  std::string expected;
  for (std::size_t i = 0; i < times; ++i) {
    text += R"(a\Pau=1\)";
    expected += "a-";
  }

  EXPECT_EQ(KQ::replaceTags(text, "-"), expected);
}

// isTagsOnlySentence -------------------------------------------------------------------------

class IsTagsOnlySentence : public testing::TestWithParam<Answer> {};

TEST_P(IsTagsOnlySentence, GivesTheAnswer) {
  EXPECT_EQ(KQ::isTagsOnlySentence(GetParam().text), GetParam().answer);
}

/// The text is too long for the regular expression.
TEST_P(IsTagsOnlySentence, GivesTheSameAnswerForALongText) {
  const std::string longTag = '\\' + std::string(100000, 'a') + '\\';

  EXPECT_EQ(KQ::isTagsOnlySentence(longTag + GetParam().text), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, IsTagsOnlySentence,
    testing::Values(
        Answer{"Empty", "", true}, Answer{"Spaces", "  ", true},
        Answer{"Tag", R"(\Pau=300\)", true}, Answer{"UnknownTag", R"(\x\)", true},
        Answer{"EmptyTag", R"(\\)", true}, Answer{"Tags", "\\RST\\ \\Vol=80\\  ", true},
        Answer{"TagsSideBySide", R"(\a\\b\)", true}, Answer{"SpacesAround", "  \\a\\  ", true},
        Answer{"AnyBytesInATag", "\\a\n\t\xFF\u2019\\", true},
        Answer{"TextBehind", R"(\Pau=300\ Hello)", false}, Answer{"Text", "Hello", false},
        Answer{"TextBefore", R"(Hello\RST\)", false}, Answer{"TextBetween", R"(\a\x\b\)", false},
        Answer{"LoneBackslash", "\\", false}, Answer{"Unclosed", R"(\Pau=300)", false},
        Answer{"UnclosedBehind", R"(\a\ \b)", false}, Answer{"ThreeBackslashes", R"(\\\)", false},
        Answer{"TabBetween", "\\a\\\t\\b\\", false}, Answer{"NewlineBehind", "\\a\\\n", false},
        Answer{"NewlineBefore", "\n\\a\\", false}, Answer{"TextBehindNul", "\\a\\\0x"s, true},
        Answer{"OnlyNul", "\0x"s, true}, Answer{"UnclosedByNul", "\\a\0\\"s, false}),
    test::RowName());

TEST(IsTagsOnlySentenceTest, TagsByTheMillionAreTagsOnly) {
  EXPECT_TRUE(KQ::isTagsOnlySentence(std::string(20000000, '\\')));
  EXPECT_FALSE(KQ::isTagsOnlySentence(std::string(20000001, '\\')));
}

}  // namespace
