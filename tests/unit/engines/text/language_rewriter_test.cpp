#include "text/language_rewriter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/row_name.hpp"

namespace {

using KQ::engines::LanguageRewriter;
using KQ::engines::rewritten;

struct RewriteRow {
  const char* name;
  const char* language;
  std::string written;
  std::string spoken;
};

void PrintTo(const RewriteRow& row, std::ostream* stream) {
  *stream << testing::PrintToString(row.written);
}

class WrittenText : public ::testing::TestWithParam<RewriteRow> {};

TEST_P(WrittenText, IsWrittenAsItIsSpoken) {
  LanguageRewriter rewriter(GetParam().language);
  EXPECT_EQ(rewritten(rewriter, GetParam().written), GetParam().spoken);
}

const RewriteRow signRows[] = {
    {"PlainText", "en", "It's here: 5 o'clock, 3.5 km (see page 7).",
     "It's here: 5 o'clock, 3.5 km (see page 7)."},
    {"MinusSign", "en", "It is −5 degrees.", "It is minus 5 degrees."},
    {"MinusSignBetween", "de", "5 − 3 und 5−3", "5 minus 3 und 5 minus 3"},
    {"Hyphen", "fr", "Il fait -5 ici", "Il fait moins 5 ici"},
    {"DashBeforeNumber", "es", "a –5 grados", "a menos 5 grados"},
    {"HyphenInWord", "en", "well-known R2-D2 - done", "well-known R2-D2 - done"},
    {"Range", "de", "Seite 5-10 und 1990–1995", "Seite 5 bis 10 und 1990 bis 1995"},
    {"NoRange", "en", "555-1234 on 2023-02-04, 10-5", "555-1234 on 2023-02-04, 10-5"},
    {"Plus", "en", "C++ and 2+2 = 4, +++", "C plus plus and 2 plus 2 equals 4, +++"},
    {"Comparisons", "ru", "2 < 3 и 5≥4", "2 меньше 3 и 5 больше или равно 4"},
    {"NoComparison", "en", "<b>a->b</b> a==b =>", "<b>a->b</b> a==b =>"},
    {"PercentAfter", "it", "20% e 20 %", "20 per cento e 20 per cento"},
    {"PercentBefore", "zh_CN", "增长20%。", "增长 百分之 20 。"},
    {"PercentBeforeTurkish", "tr", "fiyat %20 ya da 20%", "fiyat %20 ya da  yüzde 20 "},
    {"PerMille", "pl", "5‰", "5 promili"},
    {"Degrees", "fr", "18,1 °C, 90° et 1 °", "18,1 degrés Celsius, 90 degrés et 1 degré"},
    {"DegreeSigns", "en", "−5 ℃ is 23 ℉", "minus 5 degrees Celsius is 23 degrees Fahrenheit"},
    {"Numero", "es", "el n.º 5, nº 5", "el n.º 5, número  5"},
    {"MoneyBefore", "en", "It costs €5, $1 or £3.50.",
     "It costs 5 euros, 1 dollar or 3.50 pounds."},
    {"MoneyBeforeWithBlank", "nl", "voor € 5 nu", "voor 5 euro nu"},
    {"MoneyAfter", "de", "5 € oder 5€", "5 Euro oder 5 Euro"},
    {"MoneyWithScale", "en", "$5 million more", "5 million dollars more"},
    {"Real", "pt_BR", "custa R$ 10,50 hoje", "custa 10,50 reais hoje"},
    {"Lira", "tr", "₺50", "50 lira"},
    {"Variable", "en", "$HOME", "$HOME"},
    {"Fractions", "en", "½ cup, 2½ cups, ⅓", "one half cup, 2 and a half cups, one third"},
    {"Powers", "es", "5 m² y 2³", "5 m al cuadrado y 2 al cubo"},
    {"Letters", "en", "π is 3, 5 kΩ, 3 µm", "pi is 3, 5 k ohms, 3 micro m"},
    {"LettersInGreek", "el", "π και λέξη", "π και λέξη"},
    {"GreekWordElsewhere", "en", "λέξη απ", "λέξη απ"},
    {"Roots", "cs", "√2 ≈ 1,4 ≠ ∞", "odmocnina z 2 přibližně 1,4 nerovná se nekonečno"},
    {"Arrow", "en", "Press Ctrl+→ now", "Press Ctrl plus right arrow now"},
    {"TradeMark", "da", "Debian™", "Debian varemærke"},
    {"Numero2", "ru", "№ 5", "номер 5"},
    {"Emoji", "fr", "Bien 👍🏽!", "Bien pouce vers le haut!"},
    {"EmojiSequence", "en", "👩‍🚀🇩🇪", "woman astronaut flag: Germany"},
    {"EmojiRow", "en", "Ha 😂😂😂😂", "Ha face with tears of joy"},
    {"Heart", "de", "❤️ dich", "rotes Herz dich"},
    {"Mail", "en", "to info@example.com now", "to info at example dot com now"},
    {"Url", "de", "https://www.debian.org/doc/ ja",
     "https www Punkt debian Punkt org Schrägstrich doc  ja"},
    {"File", "es", "abre lista.txt y e.g. a.m.", "abre lista punto txt y e.g. a.m."},
    {"NoBlankBetweenSentences", "en", "It ended.Then", "It ended.Then"},
    {"Version", "en", "version 1.2.3.", "version 1 dot 2 dot 3."},
    {"Thousands", "de", "1.000.000", "1.000.000"},
    {"Decimals", "zh_CN", "3.14米", "3 点 1 4米"},
    {"DecimalsKorean", "ko_KR", "$2.5", "2 점 5 달러"},
    {"ArabicSeparators", "ar", "٣٫٥ ٪", "٣ فاصلة ٥ بالمئة"},
    {"UnknownLanguage", "xx", "−5 € ½", "−5 € ½"},
    {"Frames", "en", "──■──", "──■──"},
    {"Punctuation", "fr", "« Oui » — “non”…", "« Oui » — “non”…"},
};

INSTANTIATE_TEST_SUITE_P(Signs, WrittenText, ::testing::ValuesIn(signRows), test::RowName());

const RewriteRow formRows[] = {
    {"Decomposed", "de", "Mu\u0308ller und e\u0301", "Müller und é"},
    {"DecomposedKorean", "ko", "\u1112\u1161\u11AB\u1100\u1173\u11AF", "한글"},
    {"DecomposedKana", "ja", "か\u3099", "が"},
    {"Stress", "ru", "замо\u0301к", "замо\u0301к"},
    {"StressElsewhere", "en", "замо\u0301к", "замок"},
    {"MarkWithoutForm", "en", "x\u0323\u0338y", "xy"},
    {"Joiners", "de", "Au\u00ADto\u200Dbahn\uFEFF", "Autobahn"},
    {"Ligatures", "en", "ﬁnd ﬂoor", "find floor"},
    {"FullWidth", "ja", "ＡＢＣ１２３", "ABC123"},
    {"FullWidthPunctuation", "zh", "好，是！", "好，是！"},
    {"FullWidthSign", "ja", "２０％", "20 パーセント"},
    {"HalfWidthKana", "ja", "ｶﾀｶﾅ", "カタカナ"},
    {"Circled", "en", "① of Ⅳ", "1 of IV"},
    {"Subscript", "en", "H₂O", "H2O"},
    {"ArabicForms", "ar", "ﻣﺮﺣﺒﺎ", "مرحبا"},
    {"Ohm", "en", "5 \u2126", "5 Ω"},
    {"MarksOnSeveral", "en", "a\u0316\u0317b", "ab"},
    {"NoUtf8", "en", "a\xFF\xC3 b\xE2\x80", "a\xFF\xC3 b\xE2\x80"},
};

INSTANTIATE_TEST_SUITE_P(Forms, WrittenText, ::testing::ValuesIn(formRows), test::RowName());

TEST(LanguageRewriter, LooksAtEachPlaceOnceInARowOfSigns) {
  LanguageRewriter rewriter("en");
  const std::string text(200000, '+');
  EXPECT_EQ(rewritten(rewriter, text), text);
}

}  // namespace
