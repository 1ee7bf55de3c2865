#include "sentences/sentence_splitter.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/row_name.hpp"

namespace {

using KQ::sentences::SentenceSplitter;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

std::vector<std::string> sentencesOf(const std::string& text, const std::string& locale) {
  std::vector<std::string> sentences;
  std::size_t begin = 0;
  for (const std::size_t end : SentenceSplitter(locale).ends(text)) {
    const std::size_t first = text.find_first_not_of(" \t\r\n", begin);
    sentences.push_back(text.substr(first, end - first));
    begin = end;
  }
  return sentences;
}

struct Row {
  const char* name;
  const char* locale;
  std::string text;
  std::vector<std::string> sentences;
};

void PrintTo(const Row& row, std::ostream* stream) {
  *stream << testing::PrintToString(row.text);
}

class Sentences : public ::testing::TestWithParam<Row> {};

TEST_P(Sentences, AreThoseOfAReader) {
  EXPECT_THAT(sentencesOf(GetParam().text, GetParam().locale),
              ElementsAreArray(GetParam().sentences));
}

TEST_P(Sentences, HaveTheSameEndsWhileTheTextArrives) {
  const SentenceSplitter splitter(GetParam().locale);
  const std::string& text = GetParam().text;
  const std::vector<std::size_t> ends = splitter.ends(text);
  std::size_t begin = 0;
  std::vector<std::size_t> found;
  for (std::size_t length = 0; length <= text.size(); ++length) {
    if (const std::size_t end = splitter.firstEnd(text.substr(begin, length - begin))) {
      found.push_back(begin + end);
      begin += end;
    }
  }
  if (found.size() < ends.size()) {
    found.push_back(ends.back());  // the last one ends with the text
  }
  EXPECT_EQ(found, ends);
}

const std::vector<Row> rows{
    {"Nothing", "en_US", "", {}},
    {"WhiteSpace", "en_US", " \n \t\n\n", {}},
    {"Two", "en_US", "One. Two.", {"One.", "Two."}},
    {"Marks", "en_US", "A b! C d? E f… G", {"A b!", "C d?", "E f…", "G"}},
    {"Several", "en_US", "What?! Well... Yes", {"What?!", "Well...", "Yes"}},
    {"Quotes",
     "en_US",
     "\"Go!\" (Now.) “Yes.” «No.» End",
     {"\"Go!\"", "(Now.)", "“Yes.”", "«No.»", "End"}},
    {"SpeechInASentence", "en_US", "\"Go!\" he said. Then", {"\"Go!\" he said.", "Then"}},
    {"Ranks",
     "en_US",
     "Capt. Smith met Gen. Lee on Jan. 5 in Fig. 3. They left.",
     {"Capt. Smith met Gen. Lee on Jan. 5 in Fig. 3.", "They left."}},
    {"NoBeforeANumber",
     "en_US",
     "See No. 5. I said no. No. Yes.",
     {"See No. 5.", "I said no.", "No.", "Yes."}},
    {"Initials",
     "en_US",
     "J. S. Bach, e.g. his fugues. Yes",
     {"J. S. Bach, e.g. his fugues.", "Yes"}},
    {"Decimal", "en_US", "Pi is 3.14 or so. Yes", {"Pi is 3.14 or so.", "Yes"}},
    {"EndsWithANumber", "en_US", "It is 5. Yes", {"It is 5.", "Yes"}},
    {"List", "en_US", "Steps:\n1. Open it.\n2. Close it.", {"Steps:\n1. Open it.", "2. Close it."}},
    {"LineFeed", "en_US", "One\nand more.\nTwo", {"One\nand more.", "Two"}},
    {"TitleAtALinesEnd", "de_DE", "Das ist Dr.\nMüller. Ja.", {"Das ist Dr.\nMüller.", "Ja."}},
    {"EmptyLine", "en_US", "Title\n\nText\r\n \t\r\nMore", {"Title", "Text", "More"}},
    {"LowerCase",
     "en_US",
     "The asst. manager left. He ran.",
     {"The asst. manager left.", "He ran."}},
    {"German",
     "de_DE",
     "Dr. Müller kam z. B. am 5. Mai zu Prof. Lang. Er blieb.",
     {"Dr. Müller kam z. B. am 5. Mai zu Prof. Lang.", "Er blieb."}},
    {"WordThatEndsAsAnAbbreviation",
     "de_DE",
     "Er war Lehrer. Sie auch.",
     {"Er war Lehrer.", "Sie auch."}},
    {"GermanYear", "de_DE", "Es war 1990. Dann kam er.", {"Es war 1990.", "Dann kam er."}},
    {"Russian",
     "ru_RU",
     "Живёт в г. Москва на ул. Ленина и т. д. Это всё.",
     {"Живёт в г. Москва на ул. Ленина и т. д. Это всё."}},
    {"RussianSentences", "ru_RU", "Он пришёл. Она ушла.", {"Он пришёл.", "Она ушла."}},
    {"Spanish",
     "es_ES",
     "El Sr. Pérez vive en la Avda. Mayor. ¿Viene? Sí.",
     {"El Sr. Pérez vive en la Avda. Mayor.", "¿Viene?", "Sí."}},
    {"French", "fr_FR", "M. Dupont, cf. p. 3. Il vient.", {"M. Dupont, cf. p. 3.", "Il vient."}},
    {"Czech",
     "cs_CZ",
     "Přišel např. Ing. Novák dne 5. května. Odešel.",
     {"Přišel např. Ing. Novák dne 5. května.", "Odešel."}},
    {"Norwegian", "nn_NO", "Det er f.eks. Oslo. Ja.", {"Det er f.eks. Oslo.", "Ja."}},
    {"Greek",
     "el_GR",
     "Τι κάνεις; Καλά. Ο κ. Νίκος ήρθε.",
     {"Τι κάνεις;", "Καλά.", "Ο κ. Νίκος ήρθε."}},
    {"Chinese", "zh_CN", "你好。再见！好吗？是", {"你好。", "再见！", "好吗？", "是"}},
    {"Japanese", "ja_JP", "「はい。」と言った。次", {"「はい。」", "と言った。", "次"}},
    {"Arabic", "ar_SA", "كيف حالك؟ بخير", {"كيف حالك؟", "بخير"}},
    {"Korean", "ko_KR", "안녕하세요. 반갑습니다.", {"안녕하세요.", "반갑습니다."}},
    {"UnknownLocale", "xx", "Mr. Fox ran. Yes.", {"Mr. Fox ran.", "Yes."}},
    {"NoLocale", "", "Mr. Fox ran. Yes.", {"Mr. Fox ran.", "Yes."}},
    {"NoUtf8",
     "en_US",
     "It\xFF is. So\xC3 be. E\xE2\x80",
     {"It\xFF is.", "So\xC3 be.", "E\xE2\x80"}},
    {"NulBytes",
     "en_US",
     std::string("A\0 be. C\0", 9),
     {std::string("A\0 be.", 6), std::string("C\0", 2)}},
};

INSTANTIATE_TEST_SUITE_P(Table, Sentences, ::testing::ValuesIn(rows), test::RowName());

TEST(SentenceSplitter, WaitsForTheLetterThatTellsAnEndFromAnAbbreviation) {
  const SentenceSplitter splitter("en_US");
  EXPECT_EQ(splitter.firstEnd("It ended. "), 0U);
  EXPECT_EQ(splitter.firstEnd("It ended. ("), 0U);
  EXPECT_EQ(splitter.firstEnd("It ended. (T"), 9U);
}

TEST(SentenceSplitter, NeedsNoLetterAfterAParagraph) {
  EXPECT_EQ(SentenceSplitter("en_US").firstEnd("A title\n\n"), 7U);
}

TEST(SentenceSplitter, FindsNothingInOneWordOfMuchLength) {
  const std::string text(1000000, 'a');
  EXPECT_THAT(SentenceSplitter("en_US").ends(text), ElementsAre(text.size()));
}

}  // namespace
