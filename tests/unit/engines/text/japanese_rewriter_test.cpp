#include "japanese/japanese_rewriter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/repeat.hpp"
#include "support/row_name.hpp"
#include "text/language_rewriter.hpp"

namespace {

using KQ::engines::JapaneseRewriter;
using KQ::engines::LanguageRewriter;

std::string inKana(const std::string& text) {
  JapaneseRewriter rewriter(std::make_unique<LanguageRewriter>("ja"));
  return rewritten(rewriter, text);
}

struct JapaneseRow {
  const char* name;
  std::string written;
  std::string spoken;
};

void PrintTo(const JapaneseRow& row, std::ostream* stream) {
  *stream << testing::PrintToString(row.written);
}

class JapaneseText : public ::testing::TestWithParam<JapaneseRow> {};

TEST_P(JapaneseText, IsWrittenInKanaAsItSounds) {
  EXPECT_EQ(inKana(GetParam().written), GetParam().spoken);
}

const JapaneseRow japaneseRows[] = {
    {"Particles", "私は東京へ行く。", "ワタシワ トーキョーエ イク。"},
    {"Object", "りんごを食べる", "リンゴオ タベル"},
    {"Greeting", "こんにちは、世界", "コンニチワ、セカイ"},
    {"Number", "3人と2023年", "3ニント2023ネン"},
    {"Latin", "USBケーブルを使う", "USBケーブルオ ツカウ"},
    {"Sign", "気温は−5℃です", "キオンワ マイナス 5 ど デス"},
    {"Verb", "食べていました", "タベテイマシタ"},
    {"Nothing", "Hello, 12.", "Hello, 12."},
};

INSTANTIATE_TEST_SUITE_P(Table, JapaneseText, ::testing::ValuesIn(japaneseRows), test::RowName());

TEST(JapaneseRewriter, LeavesNoKanjiOfALongTextWithoutPunctuation) {
  const std::string kana = inKana(test::repeat("東京大学で日本語を勉強する", 500));
  for (const char* kanji : {"東", "京", "学", "日", "語", "強"}) {
    EXPECT_EQ(kana.find(kanji), std::string::npos);
  }
}

}  // namespace
