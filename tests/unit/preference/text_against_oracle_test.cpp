#include <gtest/gtest.h>

#include <functional>
#include <kqtts/tts_preference.hpp>
#include <random>

#include "text_oracle.hpp"

namespace {

using namespace std::string_literals;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__clang__)
constexpr int texts = 50000;
#else
constexpr int texts = 1000000;
#endif

/// Random texts of what the functions search for, and of pieces of it.
class RandomTexts {
 public:
  std::string next(int longest) {
    static const std::vector<std::string> pieces = {
        "\\",       "\\",      "\\",          "\\Pau=", "\\VOL=",
        "\\vct=",   "\\RSPD=", "\\rst",       "\\mrk=", "\\Style=",
        "\\last",   "\\Emph",  "\\mrkpause=", "\\Pa",   "\\mrk",
        "u=",       "RST",     "last",        "pause=", "=",
        "5",        "300",     "-7",          "+ 12",   "99999999999999999999",
        " ",        "  ",      "\t",          "\n",     "a",
        "Hello",    "\u00e9",  "\u2019",      "\u2018", "\xE2",
        "\x80\x99", "\u97f3",  "\0"s,         "\0x"s};
    std::string text;
    const int count = below(longest + 1);
    for (int i = 0; i < count; ++i) {
      text += pieces[static_cast<std::size_t>(below(static_cast<int>(pieces.size())))];
    }
    return text;
  }

  int below(int limit) { return static_cast<int>(generator() % static_cast<unsigned>(limit)); }

 private:
  std::mt19937 generator{20260101};
};

/// Stops at the first text where `compare` finds a difference.
void compareOnTexts(const std::function<void(RandomTexts&, const std::string&)>& compare) {
  RandomTexts source;
  for (int i = 0; i < texts && !testing::Test::HasFailure(); ++i) {
    compare(source, source.next(8));
  }
}

TEST(TextAgainstOracle, ReplaceTagsGivesTheSame) {
  compareOnTexts([](RandomTexts& source, const std::string& text) {
    const std::string replacement = source.below(3) == 0 ? source.next(3) : " ";
    EXPECT_EQ(KQ::replaceTags(text, replacement.c_str()),
              oracle::replaceTags(text, replacement.c_str()))
        << text << " with " << replacement;
  });
}

TEST(TextAgainstOracle, ReplaceMrkPauseGivesTheSame) {
  compareOnTexts([](RandomTexts& /*source*/, const std::string& text) {
    std::string ours = text;
    std::string expected = text;
    KQ::replaceMrkPause(ours);
    oracle::replaceMrkPause(expected);
    EXPECT_EQ(ours, expected) << text;
  });
}

TEST(TextAgainstOracle, ReplaceIncorrectApostropheGivesTheSame) {
  compareOnTexts([](RandomTexts& /*source*/, const std::string& text) {
    std::string ours = text;
    std::string expected = text;
    KQ::replaceIncorrectApostrophe(ours);
    oracle::replaceIncorrectApostrophe(expected);
    EXPECT_EQ(ours, expected) << text;
  });
}

TEST(TextAgainstOracle, CountUtf8CharsGivesTheSame) {
  compareOnTexts([](RandomTexts& /*source*/, const std::string& text) {
    EXPECT_EQ(KQ::countUtf8Chars(text.c_str()), oracle::countUtf8Chars(text.c_str())) << text;
  });
}

TEST(TextAgainstOracle, TokenizeStringGivesTheSame) {
  compareOnTexts([](RandomTexts& source, const std::string& text) {
    const std::string delimiters = source.next(2);
    std::string ours = text;
    std::vector<std::string> tokens;
    std::vector<std::string> expected;
    KQ::tokenizeString(ours, tokens, delimiters);
    oracle::tokenizeString(text, expected, delimiters);
    EXPECT_EQ(tokens, expected) << text << " by " << delimiters;
  });
}

TEST(TextAgainstOracle, IsTagsOnlySentenceGivesTheSame) {
  compareOnTexts([](RandomTexts& source, const std::string& text) {
    // Few random texts are tags only; these are, or nearly are.
    std::string near = source.below(2) == 0 ? "" : " ";
    for (int tag = source.below(4); tag > 0; --tag) {
      near += "\\" + text.substr(0, static_cast<std::size_t>(source.below(3))) + "\\ ";
    }
    EXPECT_EQ(KQ::isTagsOnlySentence(text), oracle::isTagsOnlySentence(text)) << text;
    EXPECT_EQ(KQ::isTagsOnlySentence(near), oracle::isTagsOnlySentence(near)) << near;
  });
}

}  // namespace
