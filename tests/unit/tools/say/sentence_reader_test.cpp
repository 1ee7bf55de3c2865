#include "say/sentence_reader.hpp"

#include <gmock/gmock.h>

#include <deque>

#include "support/row_name.hpp"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Le;
using testing::SizeIs;
using tool::Sentence;
using tool::SentenceReader;
using tool::TextSource;

/// Returns prepared pieces. An empty piece is a pause of the input.
class PreparedSource : public TextSource {
 public:
  explicit PreparedSource(std::deque<std::string> prepared) : pieces(std::move(prepared)) {}

  Result read(std::string& text, int milliseconds) override {
    if (pieces.empty()) {
      return Result::end;
    }
    const std::string piece = pieces.front();
    if (piece.empty() && milliseconds != tool::StopRequest::forever) {
      pieces.pop_front();
      return Result::quiet;
    }
    text += piece;
    pieces.pop_front();
    return Result::text;
  }

  std::size_t left() const { return pieces.size(); }

 private:
  std::deque<std::string> pieces;
};

std::vector<std::string> readAll(std::deque<std::string> pieces) {
  PreparedSource source(std::move(pieces));
  SentenceReader reader(source);
  std::vector<std::string> sentences;
  while (const std::optional<Sentence> sentence = reader.next()) {
    sentences.push_back(sentence->text);
  }
  return sentences;
}

struct SentenceRow {
  std::string name;
  std::string text;
  std::vector<std::string> sentences;
};

void PrintTo(const SentenceRow& row, std::ostream* stream) {
  *stream << testing::PrintToString(row.text);
}

class Text : public testing::TestWithParam<SentenceRow> {};

TEST_P(Text, IsCutIntoSentences) {
  EXPECT_THAT(readAll({GetParam().text}), ElementsAreArray(GetParam().sentences));
}

TEST_P(Text, IsCutTheSameWhenItComesByteByByte) {
  std::deque<std::string> bytes;
  for (const char byte : GetParam().text) {
    bytes.emplace_back(1, byte);
  }
  EXPECT_THAT(readAll(bytes), ElementsAreArray(GetParam().sentences));
}

INSTANTIATE_TEST_SUITE_P(
    , Text,
    testing::Values(
        SentenceRow{"Nothing", "", {}}, SentenceRow{"WhiteSpaceAlone", " \n\n \t", {}},
        SentenceRow{"OneWithoutMark", "Hello", {"Hello"}},
        SentenceRow{"Two", "One. Two.", {"One.", "Two."}},
        SentenceRow{"MarksOfAllKinds", "A b! C d? E f… G", {"A b!", "C d?", "E f…", "G"}},
        SentenceRow{"SeveralMarks", "What?! Well... Yes", {"What?!", "Well...", "Yes"}},
        SentenceRow{"ClosingMarks", "\"Go!\" (Now.) Yes", {"\"Go!\"", "(Now.)", "Yes"}},
        SentenceRow{"TypographicQuotes", "“Go.” «Now.» Yes", {"“Go.”", "«Now.»", "Yes"}},
        SentenceRow{"FullStopInANumber", "Pi is 3.14 or so. Yes", {"Pi is 3.14 or so.", "Yes"}},
        SentenceRow{"Title", "Dr. Who met Mr. Fox. Yes", {"Dr. Who met Mr. Fox.", "Yes"}},
        SentenceRow{"Initials",
                    "J. S. Bach, e.g. his fugues. Yes",
                    {"J. S. Bach, e.g. his fugues.", "Yes"}},
        SentenceRow{"EndsWithADigit", "It is 5. Yes", {"It is 5.", "Yes"}},
        SentenceRow{"LineEndInASentence", "One\nand more.\nTwo", {"One\nand more.", "Two"}},
        SentenceRow{"EmptyLine", "Title\n\nText", {"Title", "Text"}},
        SentenceRow{"EmptyLineWithBlanks", "Title\r\n \t\r\nText", {"Title", "Text"}},
        SentenceRow{"Chinese", "你好。再见！好吗？是", {"你好。", "再见！", "好吗？", "是"}},
        SentenceRow{"Arabic", "كيف حالك؟ بخير", {"كيف حالك؟", "بخير"}},
        SentenceRow{"Tag", "\\pau=500\\ Hello. Yes", {"\\pau=500\\ Hello.", "Yes"}},
        SentenceRow{"NulBytes", std::string("A\0b. \0 C", 8), {"A b.", "C"}},
        SentenceRow{"OnlyNulBytes", std::string(3, '\0'), {}}),
    test::RowName());

TEST(SentenceReader, TellsWhereEachSentenceStands) {
  PreparedSource source({"  One. ", "\n\nTwo. Three"});
  SentenceReader reader(source);
  EXPECT_EQ(reader.next()->offset, 2U);
  EXPECT_EQ(reader.next()->offset, 9U);
  EXPECT_EQ(reader.next()->offset, 14U);
  EXPECT_FALSE(reader.next().has_value());
}

TEST(SentenceReader, GivesOutASentenceBeforeTheNextArrives) {
  PreparedSource source({"One. ", "", "Two."});
  SentenceReader reader(source);
  EXPECT_EQ(reader.next()->text, "One.");
  EXPECT_EQ(source.left(), 1U);
}

TEST(SentenceReader, WaitsAfterAFullStopForWhatTellsAnAbbreviation) {
  EXPECT_THAT(readAll({"The asst. ", "manager left."}), ElementsAre("The asst. manager left."));
}

TEST(SentenceReader, KnowsTheAbbreviationsOfTheLanguage) {
  PreparedSource source({"Живёт на ул. Ленина. Это всё."});
  SentenceReader reader(source, "ru_RU");
  EXPECT_EQ(reader.next()->text, "Живёт на ул. Ленина.");
}

TEST(SentenceReader, GivesOutALineAfterWhichTheTextPauses) {
  EXPECT_THAT(readAll({"a line\n", "", "another"}), ElementsAre("a line", "another"));
}

TEST(SentenceReader, WaitsThroughAPauseInsideALine) {
  EXPECT_THAT(readAll({"a li", "", "ne"}), ElementsAre("a line"));
}

TEST(SentenceReader, GoesOnWithALineThatContinuesAtOnce) {
  EXPECT_THAT(readAll({"a line\n", "and more"}), ElementsAre("a line\nand more"));
}

TEST(SentenceReader, CutsALongSentenceBetweenWords) {
  std::string text;
  for (int i = 0; i < 5000; ++i) {
    text += "word ";
  }

  const std::vector<std::string> sentences = readAll({text});

  ASSERT_EQ(sentences.size(), 7U);
  for (const std::string& sentence : sentences) {
    EXPECT_LE(sentence.size(), SentenceReader::maxBytes);
    EXPECT_EQ((sentence.size() + 1) % 5, 0U) << "a word was cut";
  }
}

TEST(SentenceReader, CutsALongWordBetweenCharacters) {
  std::string text;
  for (std::size_t i = 0; i < SentenceReader::maxBytes; ++i) {
    text += "€";
  }

  const std::vector<std::string> sentences = readAll({text});

  EXPECT_THAT(sentences, Each(SizeIs(Le(SentenceReader::maxBytes))));
  std::string joined;
  for (const std::string& sentence : sentences) {
    joined += sentence;
  }
  EXPECT_EQ(joined, text);
}

TEST(SentenceReader, SaysWhetherTheTextWasUtf8) {
  PreparedSource clean({"café."});
  PreparedSource foreign({"caf\xE9."});
  SentenceReader cleanReader(clean);
  SentenceReader foreignReader(foreign);
  cleanReader.next();
  foreignReader.next();
  EXPECT_FALSE(cleanReader.sawForeignBytes());
  EXPECT_TRUE(foreignReader.sawForeignBytes());
}

/// An endless text without a blank or the end of a sentence.
class EndlessSource : public TextSource {
 public:
  Result read(std::string& text, int) override {
    longest = std::max(longest, text.size());
    text.append(16384, 'x');
    return Result::text;
  }
  std::size_t longest = 0;
};

TEST(SentenceReader, HoldsLittleOfATextWithoutEnd) {
  EndlessSource source;
  SentenceReader reader(source);
  for (int i = 0; i < 2500; ++i) {
    ASSERT_EQ(reader.next()->text.size(), SentenceReader::maxBytes);
  }
  EXPECT_LT(source.longest, 65536U);
}

}  // namespace
