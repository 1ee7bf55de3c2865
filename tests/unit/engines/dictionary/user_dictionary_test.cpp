#include "dictionary/user_dictionary.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/row_name.hpp"

namespace {

using KQ::engines::DictionaryError;
using KQ::engines::DictionaryMatch;
using KQ::engines::UserDictionary;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A dictionary with some entries.
class Dictionary : public ::testing::Test {
 protected:
  Dictionary() {
    dictionary.add({"robot", "machine man"});
    dictionary.add({"KQ", "kay queue", true});
    dictionary.add({"été", "summer"});
    dictionary.add({"queue", "line"});
  }

  /// The replacement of the entry at the begin of a text, or "".
  std::string replacement(const std::string& text) const {
    const DictionaryMatch match = dictionary.matchAt(text, 0);
    return match.entry == nullptr ? "" : match.entry->replacement;
  }

  UserDictionary dictionary;
};

TEST_F(Dictionary, ExactEntryWins) {
  dictionary.add({"Robot", "Karel", true});
  EXPECT_EQ(replacement("Robot"), "Karel");
  EXPECT_EQ(replacement("robot"), "machine man");
}

TEST_F(Dictionary, EntryReplacesTheFormerOne) {
  EXPECT_TRUE(dictionary.add({"ROBOT", "servant"}));
  EXPECT_EQ(replacement("robot"), "servant");
  EXPECT_EQ(dictionary.entries().size(), 4U);
}

TEST_F(Dictionary, SameEntryChangesNothing) {
  EXPECT_FALSE(dictionary.add({"Robot", "machine man"}));
}

TEST_F(Dictionary, EntriesCanBeRemoved) {
  EXPECT_TRUE(dictionary.remove("ROBOT"));
  EXPECT_TRUE(dictionary.remove("KQ"));
  EXPECT_EQ(replacement("robot"), "");
  EXPECT_EQ(replacement("KQ"), "");
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

TEST_F(Dictionary, LongestEntryWins) {
  dictionary.add({"重", "a"});
  dictionary.add({"重庆", "b"});
  dictionary.add({"重庆银行", "c"});
  EXPECT_EQ(replacement("重庆银行"), "c");
  EXPECT_EQ(replacement("重庆银"), "b");
  EXPECT_EQ(replacement("重"), "a");
}

TEST_F(Dictionary, MatchIsAsLongAsTheWord) {
  EXPECT_EQ(dictionary.matchAt("a robot.", 2).length, 5U);
}

TEST_F(Dictionary, WithoutMatchAWholePartIsPassed) {
  EXPECT_EQ(dictionary.matchAt("robots robot", 0).length, 6U);
  EXPECT_EQ(dictionary.matchAt("日本", 0).length, 3U);
}

TEST_F(Dictionary, WithinAnEndlessWordALimitedLengthIsPassed) {
  EXPECT_EQ(dictionary.matchAt(std::string(100000, 'a'), 0).length, UserDictionary::longestWord);
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
    {"HyphenAtTheEnd", "word-", "x", "\"word-\" is not one word"},
    {"TwoWordsWithoutBlanks", "日。本", "x", "\"日。本\" is not one word"},
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
  const std::string word(UserDictionary::longestWord, 'a');
  EXPECT_TRUE(dictionary.add({word, std::string(UserDictionary::longestReplacement, 'b')}));
  EXPECT_EQ(dictionary.matchAt(word, 0).length, word.size());
}

TEST(UserDictionary, HoldsALimitedNumberOfEntries) {
  UserDictionary dictionary;
  for (std::size_t i = 0; i < UserDictionary::mostEntries; ++i) {
    dictionary.add({"word" + std::to_string(i), "x"});
  }
  EXPECT_THROW(dictionary.add({"another", "x"}), DictionaryError);
}

TEST(UserDictionary, EntryMayHaveSeveralWordsWithoutBlanks) {
  UserDictionary dictionary;
  EXPECT_TRUE(dictionary.add({"卡拉OK", "karaoke"}));
  EXPECT_TRUE(dictionary.add({"T恤", "shirt"}));
}

}  // namespace
