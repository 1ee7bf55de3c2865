#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "espeak_engine.hpp"
#include "support/repeat.hpp"
#include "support/row_name.hpp"

namespace {

using test::repeated;
using test::SpeakingEngine;

struct DeadlyRow {
  const char* name;
  std::string text;
};

/// Each ended the process in one language or more before clauses and words were limited.
const DeadlyRow deadlyTexts[] = {
    {"DottedLetters", repeated("A.", 85)},
    {"DottedSmallLetters", repeated("w.", 85)},
    {"DottedPairs", repeated("M.C.", 43)},
    {"DottedTriples", repeated("U.S.A.", 29)},
    {"DottedLettersBetweenTags", repeated("A\\vol=50\\.\\rst\\", 85)},
    {"DottedLettersBetweenMarks", repeated("A.\\mrk=1\\", 85)},
    {"DottedLettersWithBlanks", repeated("a . ", 85)},
    {"DottedGreekLetters", repeated("θ.", 60)},
    {"DottedCyrillicLetters", repeated("ж.", 60)},
    {"DottedArabicLetters", repeated("ب.", 60)},
    {"DottedHanCharacters", repeated("你.", 85)},
    {"DottedKana", "a.1u.ャコW " + repeated("ケ.", 60)},
    {"DottedHangul", repeated("가.", 60)},
    {"Decimals", repeated(".5 ", 86)},
    {"ShortNumbersWithCommas", repeated(",5 ", 86)},
    {"Possessives", repeated("s'", 70)},
    {"CapitalPossessives", "U" + repeated("S'", 84)},
    {"CurlyPossessives", repeated("s’", 70)},
    {"LongWord", std::string(160, 'a')},
    {"LongDanishWord", repeated("baualæsff", 18)},
    {"AnotherLongDanishWord", repeated("usyd", 40)},
    {"HyphensBeforeALetter", std::string(61, '-') + "A"},
    {"FewHyphensBeforeALetter", "---A"},
    {"BracketAndHyphen", "(-A"},
    {"FullStopAndHyphen", ".-A"},
    {"SentenceAndHyphen", "Yes. (-A"},
    {"AbbreviationAndLongWord", "l.a." + std::string(300, 'b')},
    {"SuperscriptsAfterALetter", "S." + repeated("²", 85)},
    {"ManyAbbreviations", repeated("好=l.a.是=", 60)},
    {"ManyShortWords", repeated("S+s.", 175)},
    {"ManySigns", repeated("D=", 350)},
    {"WordsAndDots", repeated("s.a]o.", 120)},
    {"QuotesAndSigns", repeated("'s^", 20) + repeated(" *v.p C.", 60)},
    {"NumbersAndLetters", repeated("g6", 350)},
    {"LongHangulWord", repeated("뷁다", 130)},
    {"DigitsAndDottedLetters", std::string(120, '7') + repeated("r.", 140)},
    {"CombiningMarks", repeated("e\u0301", 200)},
    {"DottedLettersWithMarks", repeated("а\u0301.", 60)},
};

/// An engine that speaks a language fast, since the texts are long.
struct FastEngine : SpeakingEngine {
  explicit FastEngine(const std::string& language) : SpeakingEngine(test::espeakPackages()) {
    engine->setCurrentLanguage(language);
    engine->setParameter("speed", 400.F);
  }
};

/// The name of the first text during which a process ended that speaks all of them, or "".
std::string textThatKills(const std::string& language) {
  std::array<int, 2> spokenTexts{};
  if (::pipe(spokenTexts.data()) != 0) {
    return "no pipe";
  }
  const pid_t child = ::fork();
  if (child == 0) {
    FastEngine speaking(language);
    for (const DeadlyRow& row : deadlyTexts) {
      // A clause is read before its first audio: of long texts, that is enough.
      speaking.host.atAudio = [&] { return row.text.size() < 40; };
      speaking->startSynthetizer(row.text);
      const bool isTold = ::write(spokenTexts[1], "", 1) == 1;
      static_cast<void>(isTold);
    }
    ::_exit(EXIT_SUCCESS);
  }
  ::close(spokenTexts[1]);
  std::size_t count = 0;
  char byte = 0;
  while (::read(spokenTexts[0], &byte, 1) == 1) {
    ++count;
  }
  ::close(spokenTexts[0]);
  ::waitpid(child, nullptr, 0);
  return count < std::size(deadlyTexts) ? deadlyTexts[count].name : "";
}

class LimitsOfEveryLanguage : public ::testing::TestWithParam<const char*> {};

TEST_P(LimitsOfEveryLanguage, TextsThatItsSynthesiserDoesNotBearAreSurvived) {
  EXPECT_EQ(textThatKills(GetParam()), "");
}

struct Speech {
  std::size_t words = 0;
  std::size_t samples = 0;
};

/// What is spoken of some lines, each so many at a time.
Speech speechOf(FastEngine& speaking, const std::vector<std::string>& lines, std::size_t atOnce) {
  const std::size_t samplesBefore = speaking.host.samples().size();
  const std::size_t wordsBefore = speaking.host.events(test::SpeechEvent::Kind::word).size();
  for (std::size_t begin = 0; begin < lines.size(); begin += atOnce) {
    std::string text;
    for (std::size_t i = begin; i < std::min(begin + atOnce, lines.size()); ++i) {
      text += lines[i];
    }
    speaking->startSynthetizer(text);
  }
  return {speaking.host.events(test::SpeechEvent::Kind::word).size() - wordsBefore,
          speaking.host.samples().size() - samplesBefore};
}

/// The whole text has as many word events as its parts, and takes nearly as long.
void expectNothingIsLost(const char* language, const std::vector<std::string>& lines,
                         std::size_t inPart) {
  FastEngine speaking(language);
  const Speech whole = speechOf(speaking, lines, lines.size());
  const Speech parts = speechOf(speaking, lines, inPart);
  EXPECT_EQ(whole.words, parts.words);
  EXPECT_GT(static_cast<double>(whole.samples), 0.8 * static_cast<double>(parts.samples));
}

TEST_P(LimitsOfEveryLanguage, ListOfLinesWithNumbersIsSpokenWhole) {
  expectNothingIsLost(GetParam(), std::vector<std::string>(32, "Raum 101 18,1 Grad 234567\n"), 4);
}

INSTANTIATE_TEST_SUITE_P(Table, LimitsOfEveryLanguage,
                         ::testing::Values("Arabic", "Brazilian", "CantoneseHK", "Chinese", "Czech",
                                           "Danish", "Dutch", "English", "EnglishGB", "Finnish",
                                           "French", "German", "Greek", "Italian", "Japanese",
                                           "Korean", "Norwegian", "Polish", "Portuguese", "Russian",
                                           "Spanish", "SpanishMexico", "Swedish", "Turkish"),
                         [](const auto& language) { return std::string(language.param); });

struct RunRow {
  const char* name;
  const char* language;
  const char* word;
  int count;
  std::size_t inPart;
};

const RunRow runRows[] = {
    {"Kana", "Japanese", "か", 200, 20},
    {"KanaWords", "Japanese", "か ", 300, 20},
    {"CantoneseCharacters", "CantoneseHK", "廣", 400, 50},
    {"MandarinCharacters", "Chinese", "中", 400, 50},
    {"Hangul", "Korean", "값", 200, 20},
    {"HangulWords", "Korean", "값이 ", 200, 20},
    {"Numbers", "German", "777 ", 200, 10},
    {"LongNumbers", "Finnish", "777777 ", 60, 4},
    {"SpelledAbbreviations", "Russian", "www ", 120, 6},
    {"ExpandedAbbreviations", "German", "usw ", 170, 10},
    {"Percents", "Polish", "5 % ", 100, 8},
    {"ShortWords", "English", "a ", 350, 20},
    {"CyrillicWord", "Russian", "ба", 200, 20},
};

class LongRun : public ::testing::TestWithParam<RunRow> {};

TEST_P(LongRun, WithoutPunctuationIsSpokenWhole) {
  FastEngine speaking(GetParam().language);
  const std::vector<std::string> words(static_cast<std::size_t>(GetParam().count), GetParam().word);
  const Speech whole = speechOf(speaking, words, words.size());
  const Speech parts = speechOf(speaking, words, GetParam().inPart);
  EXPECT_GT(static_cast<double>(whole.samples), 0.65 * static_cast<double>(parts.samples));
}

INSTANTIATE_TEST_SUITE_P(Table, LongRun, ::testing::ValuesIn(runRows), test::RowName());

}  // namespace
