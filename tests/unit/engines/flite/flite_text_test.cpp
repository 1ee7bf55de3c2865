#include "flite/flite_text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/repeat.hpp"
#include "support/row_name.hpp"

namespace {

using KQ::engines::FliteText;
using KQ::engines::FliteToken;
using KQ::engines::SpokenText;
using test::repeated;

/// The words of each phrase that a text is cut into.
std::vector<std::vector<std::string>> phrases(const std::string& text) {
  SpokenText spoken(text);
  FliteText source(spoken);
  std::vector<std::vector<std::string>> all;
  while (const auto phrase = source.next()) {
    all.emplace_back();
    for (const FliteToken& token : phrase->tokens) {
      all.back().push_back(token.before + token.name + token.after);
    }
  }
  return all;
}

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words) {
    all += word;
  }
  return all;
}

struct SpelledRow {
  const char* name;
  std::string text;
};

/// Flite speaks each of their characters as a word or more.
const SpelledRow spelledTexts[] = {
    {"Digits", std::string(1000, '7')},      {"LongNumbers", repeated("1234567890123 ", 70)},
    {"Consonants", std::string(1000, 'b')},  {"Capitals", repeated("WXZ", 300)},
    {"DottedLetters", repeated("A.", 500)},  {"Signs", repeated("a%b&", 200)},
    {"SixDigits", repeated("123456 ", 200)},
};

class SpelledText : public ::testing::TestWithParam<SpelledRow> {};

TEST_P(SpelledText, ComesInShortPhrases) {
  for (const std::vector<std::string>& phrase : phrases(GetParam().text)) {
    EXPECT_LE(joined(phrase).size(), 60U) << joined(phrase);
  }
}

TEST_P(SpelledText, LosesNothing) {
  std::string all;
  for (const std::vector<std::string>& phrase : phrases(GetParam().text)) {
    all += joined(phrase);
  }
  std::string expected = GetParam().text;
  expected.erase(std::remove(expected.begin(), expected.end(), ' '), expected.end());
  EXPECT_EQ(all, expected);
}

INSTANTIATE_TEST_SUITE_P(Table, SpelledText, ::testing::ValuesIn(spelledTexts), test::RowName());

TEST(FlitePhrases, WordsWithoutPunctuationAreFortyAtOnce) {
  const auto all = phrases(repeated("word ", 50));
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].size(), 40U);
}

TEST(FlitePhrases, WordsAndShortNumbersOfASentenceStayTogether) {
  EXPECT_EQ(phrases("In 1989 the 3 Knightsbridge flats at 21.5 degrees cost 45% of 1,234 pounds in "
                    "the U.S. or 2 or 4 or 6 or 8 or even 16 of the XL ones in the year 2024")
                .size(),
            1U);
}

}  // namespace
