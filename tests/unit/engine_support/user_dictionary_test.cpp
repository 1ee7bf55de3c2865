#include "support/user_dictionary.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/row_name.hpp"
#include "support/word_reader.hpp"

namespace {

using KQ::engines::DictionaryError;
using KQ::engines::ReplacedText;
using KQ::engines::UserDictionary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> wordsOf(std::string_view text) {
  KQ::engines::WordReader reader(text);
  std::vector<std::string> words;
  while (const auto word = reader.next()) {
    words.emplace_back(*word);
  }
  return words;
}

TEST(WordReader, TakesLettersAndDigitsOfAnyScript) {
  EXPECT_THAT(wordsOf("a 1b, Œuvre! Привет (日本) e\xCC\x81t"),
              ElementsAre("a", "1b", "Œuvre", "Привет", "日本", "e\xCC\x81t"));
}

TEST(WordReader, JoinsWithApostrophesAndHyphens) {
  EXPECT_THAT(wordsOf("don't l’eau R2-D2"), ElementsAre("don't", "l’eau", "R2-D2"));
}

TEST(WordReader, LeavesOutApostrophesAndHyphensOutside) {
  EXPECT_THAT(wordsOf("'quoted' -x- a--b"), ElementsAre("quoted", "x", "a", "b"));
}

TEST(WordReader, JoinsDigitsWithFullStopsAndCommas) {
  EXPECT_THAT(wordsOf("3.5 1,000 end.Next 7. 8,x"),
              ElementsAre("3.5", "1,000", "end", "Next", "7", "8", "x"));
}

TEST(WordReader, WhatIsNoUtf8SeparatesWords) {
  EXPECT_THAT(wordsOf("a\xFFz\xC3 b\xE2\x80"), ElementsAre("a", "z", "b"));
}

TEST(WordReader, FindsNoneWhereNoneIs) {
  EXPECT_THAT(wordsOf(""), IsEmpty());
  EXPECT_THAT(wordsOf(" .,-'’ \n 😀"), IsEmpty());
}

TEST(ToLowerCase, KnowsAllScripts) {
  EXPECT_EQ(KQ::engines::toLowerCase("ABC Œ ПРИВЕТ Ω 日 1\xFF"), "abc œ привет ω 日 1\xFF");
}

/// A dictionary with some entries.
class Dictionary : public ::testing::Test {
 protected:
  Dictionary() {
    dictionary.add({"robot", "machine man"});
    dictionary.add({"KQ", "kay queue", true});
    dictionary.add({"été", "summer"});
    dictionary.add({"queue", "line"});
  }

  std::string replaced(const std::string& text) const {
    const auto result = dictionary.replaceIn(text);
    return result ? result->text() : text;
  }

  UserDictionary dictionary;
};

struct ReplacementRow {
  const char* name;
  std::string text;
  std::string expected;
};

const ReplacementRow replacements[] = {
    {"Word", "a robot", "a machine man"},
    {"Beginning", "robot.", "machine man."},
    {"SeveralTimes", "robot robot", "machine man machine man"},
    {"AnyCase", "Robot ROBOT", "machine man machine man"},
    {"AnyCaseBeyondAscii", "ÉTÉ", "summer"},
    {"ExactCase", "KQ kq", "kay queue kq"},
    {"WholeWordsOnly", "robots microrobot robot's", "robots microrobot robot's"},
    {"InQuotes", "'robot' \"robot\"", "'machine man' \"machine man\""},
    {"OncePerWord", "KQ queue", "kay queue line"},
    {"NotInTags", "\\Style=robot\\ robot", "\\Style=robot\\ machine man"},
    {"NotInUnknownTags", "\\robot\\x", "\\robot\\x"},
    {"NotInUnclosedTags", "\\robot=robot robot", "\\robot=robot machine man"},
    {"NotBehindABackslash", "\\robot ", "\\robot "},
    {"BetweenTags", "\\Vol=50\\robot\\RST\\", "\\Vol=50\\machine man\\RST\\"},
    {"NoUtf8", "\xFFrobot\xC3", "\xFFmachine man\xC3"},
    {"Nothing", "", ""},
};

class Replacement : public Dictionary, public ::testing::WithParamInterface<ReplacementRow> {};

TEST_P(Replacement, IsAsExpected) {
  EXPECT_EQ(replaced(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, Replacement, ::testing::ValuesIn(replacements), test::RowName());

TEST_F(Dictionary, WithoutItsWordsATextIsLeftAlone) {
  EXPECT_FALSE(dictionary.replaceIn("nothing to do"));
}

TEST_F(Dictionary, ExactEntryGoesFirst) {
  dictionary.add({"Robot", "Karel", true});
  EXPECT_EQ(replaced("Robot robot"), "Karel machine man");
}

TEST_F(Dictionary, EntryTakesTheFormerOnesPlace) {
  EXPECT_TRUE(dictionary.add({"ROBOT", "servant"}));
  EXPECT_EQ(replaced("robot"), "servant");
  EXPECT_EQ(dictionary.entries().size(), 4U);
}

TEST_F(Dictionary, EntryThatIsThereChangesNothing) {
  EXPECT_FALSE(dictionary.add({"Robot", "machine man"}));
}

TEST_F(Dictionary, EntriesCanBeRemoved) {
  EXPECT_TRUE(dictionary.remove("ROBOT"));
  EXPECT_TRUE(dictionary.remove("KQ"));
  EXPECT_EQ(replaced("KQ robot"), "KQ robot");
}

TEST_F(Dictionary, AbsentEntryCannotBeRemoved) {
  EXPECT_FALSE(dictionary.remove("kq"));
  EXPECT_FALSE(dictionary.remove(""));
}

TEST_F(Dictionary, EntriesAreListedByWord) {
  std::vector<std::string> words;
  for (const auto& [word, entry] : dictionary.entries()) {
    words.push_back(word + (entry.isExact ? "!" : ""));
  }
  EXPECT_THAT(words, ElementsAre("KQ!", "queue", "robot", "été"));
}

/// Where a part of the replaced text stands in the original.
std::string inOriginal(const ReplacedText& replaced, const std::string& original,
                       const std::string& part) {
  const SpeechWord word = replaced.inOriginal({replaced.text().find(part), part.size(), 42});
  EXPECT_EQ(word.samplePosition, 42U);
  return original.substr(word.textOffset, word.textLength);
}

TEST_F(Dictionary, PlacesAreThoseOfTheOriginal) {
  const std::string text = "one robot, two KQ three \\Pau=1\\ four";
  const auto result = dictionary.replaceIn(text);
  ASSERT_TRUE(result);
  for (const char* word : {"one", "two", "three", "four", "two KQ three"}) {
    const std::string spoken = word == std::string("two KQ three") ? "two kay queue three" : word;
    EXPECT_EQ(inOriginal(*result, text, spoken), word);
  }
}

TEST_F(Dictionary, PartsOfAReplacementStandForTheWholeWord) {
  const std::string text = "one robot, two KQ";
  const auto result = dictionary.replaceIn(text);
  ASSERT_TRUE(result);
  for (const char* part : {"machine man", "machine", "man", "chin"}) {
    EXPECT_EQ(inOriginal(*result, text, part), "robot");
  }
  EXPECT_EQ(inOriginal(*result, text, "queue"), "KQ");
  EXPECT_EQ(inOriginal(*result, text, "one mach"), "one robot");
  EXPECT_EQ(inOriginal(*result, text, "man, two"), "robot, two");
}

TEST(DictionaryTime, IsOneLookUpPerWordForAnyNumberOfEntries) {
  UserDictionary dictionary;
  for (std::size_t i = 0; i < UserDictionary::mostEntries; ++i) {
    dictionary.add({"word" + std::to_string(i), "x"});
  }
  std::string text;
  for (int i = 0; i < 100000; ++i) {
    text += "word" + std::to_string(i) + ' ';
  }
  const auto result = dictionary.replaceIn(text);
  ASSERT_TRUE(result);
  EXPECT_EQ(result->text().size(), 200000U);
  EXPECT_THROW(dictionary.add({"another", "x"}), DictionaryError);
}

struct HostileEntryRow {
  const char* name;
  std::string word;
  std::string replacement;
  std::string complaint;
};

const HostileEntryRow hostileEntries[] = {
    {"EmptyWord", "", "x", "\"\" is not one word"},
    {"TwoWords", "two words", "x", "\"two words\" is not one word"},
    {"WordWithBlank", "word ", "x", "\"word \" is not one word"},
    {"Punctuation", "C++", "x", "\"C++\" is not one word"},
    {"EmptyReplacement", "word", "", "the replacement is empty"},
    {"BlankReplacement", "word", "  ", "the replacement is empty"},
    {"Newline", "word", "x\nother\ty", "the replacement holds a control character"},
    {"Nul", std::string("wo\0rd", 5), "x", "the word holds a control character"},
    {"Delete", "word", "\x7F", "the replacement holds a control character"},
    {"Backslash", "word", "\\Pau=600000\\",
     "the replacement holds markup: a backslash or an angle bracket"},
    {"Markup", "word", "<break/>", "the replacement holds markup: a backslash or an angle bracket"},
    {"BackslashInTheWord", "wo\\rd", "x", "the word holds markup: a backslash or an angle bracket"},
    {"WordNoUtf8", "w\xFF", "x", "the word is no UTF-8"},
    {"ReplacementNoUtf8", "word", "\xC3", "the replacement is no UTF-8"},
    {"LongWord", std::string(129, 'a'), "x", "the word is longer than 128 bytes"},
    {"LongReplacement", "word", std::string(1025, 'a'),
     "the replacement is longer than 1024 bytes"},
};

class HostileEntry : public ::testing::TestWithParam<HostileEntryRow> {};

TEST_P(HostileEntry, IsRefused) {
  UserDictionary dictionary;
  EXPECT_THAT(
      [&] {
        dictionary.add({GetParam().word, GetParam().replacement});
      },
      ::testing::ThrowsMessage<DictionaryError>(GetParam().complaint));
  EXPECT_THAT(dictionary.entries(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, HostileEntry, ::testing::ValuesIn(hostileEntries), test::RowName());

TEST(UserDictionary, LongestEntryIsTaken) {
  UserDictionary dictionary;
  EXPECT_TRUE(dictionary.add({std::string(128, 'a'), std::string(1024, 'b')}));
  EXPECT_EQ(dictionary.replaceIn(std::string(128, 'a'))->text().size(), 1024U);
}

}  // namespace
