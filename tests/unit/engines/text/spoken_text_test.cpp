#include "text/spoken_text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "dictionary_oracle.hpp"
#include "support/repeat.hpp"
#include "support/row_name.hpp"
#include "text/language_rewriter.hpp"
#include "text/text_chunks.hpp"
#include "text/utf8.hpp"

namespace {

using KQ::engines::MarkupItem;
using KQ::engines::MarkupReader;
using KQ::engines::SpokenText;
using KQ::engines::TextChunk;
using KQ::engines::TextChunks;
using KQ::engines::UserDictionary;
using test::repeat;

/// The whole text in the form in which it is spoken.
std::string read(SpokenText& text) {
  std::string all;
  while (const auto item = text.next()) {
    all += text.view(item->offset, item->length);
  }
  return all;
}

/// Texts with the words of a dictionary.
class Spoken : public ::testing::Test {
 protected:
  Spoken() {
    dictionary.add({"robot", "machine man"});
    dictionary.add({"KQ", "kay queue", true});
    dictionary.add({"été", "summer"});
    dictionary.add({"queue", "line"});
    dictionary.add({"重庆", "chong qing"});
    dictionary.add({"银行", "yin hang"});
    dictionary.add({"上海", "申城"});
    dictionary.add({"T恤", "T shirt"});
    dictionary.add({"ロボ", "robo"});
  }

  std::string spoken(const std::string& text) const {
    SpokenText result(text, &dictionary);
    return read(result);
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
    {"BehindABackslash", "\\robot ", "\\machine man "},
    {"BetweenTags", "\\Vol=50\\robot\\RST\\", "\\Vol=50\\machine man\\RST\\"},
    {"NoUtf8", "\xFFrobot\xC3", "\xFFmachine man\xC3"},
    {"Nothing", "", ""},
    {"WithinTextWithoutBlanks", "我爱上海。", "我爱申城。"},
    {"OtherScriptBesideTextWithoutBlanks", "我爱重庆。", "我爱chong qing。"},
    {"ReplacementsSideBySide", "重庆银行", "chong qing yin hang"},
    {"ReplacementBeforeItsScript", "重庆OK", "chong qing OK"},
    {"ReplacementBehindItsScript", "OK银行", "OK yin hang"},
    {"MixedScripts", "买T恤吧", "买T shirt吧"},
    {"NotWithinKatakana", "ロボット ロボ", "ロボット robo"},
};

class ReplacedWord : public Spoken, public ::testing::WithParamInterface<ReplacementRow> {};

TEST_P(ReplacedWord, IsSpokenAsExpected) {
  EXPECT_EQ(spoken(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table, ReplacedWord, ::testing::ValuesIn(replacements), test::RowName());

TEST_F(Spoken, WithoutDictionaryIsTheTextItself) {
  const std::string text = "a robot \\mrk=1\\";
  SpokenText result(text);
  EXPECT_EQ(read(result), text);
  EXPECT_EQ(result.inOriginal({2, 5, 42}).textOffset, 2U);
}

TEST_F(Spoken, ReplacementsNeverMakeOrBreakTags) {
  // With the shorter word, the unclosed tag would be closed within 256 bytes.
  dictionary.add({std::string(100, 'x'), "y"});
  const std::string text = "\\Style=a " + std::string(100, 'x') + std::string(200, ' ') + "\\";
  SpokenText result(text, &dictionary);
  std::vector<std::string> pieces;
  while (const auto item = result.next()) {
    pieces.emplace_back(result.view(item->offset, item->length));
  }
  EXPECT_THAT(pieces, ::testing::ElementsAre("\\Style=a", " y" + std::string(200, ' '), "\\"));
}

// Places ---------------------------------------------------------------------------------------

/// Returns the part of the original that a part of the text comes from.
std::string inOriginal(const SpokenText& spoken, const std::string& all,
                       const std::string& original, const std::string& part) {
  const SpeechWord word = spoken.inOriginal({all.find(part), part.size(), 42});
  EXPECT_EQ(word.samplePosition, 42U);
  return original.substr(word.textOffset, word.textLength);
}

TEST_F(Spoken, PlacesMapToTheOriginal) {
  const std::string text = "one robot, two KQ three \\Pau=1\\ four";
  SpokenText result(text, &dictionary);
  const std::string all = read(result);
  for (const char* word : {"one", "two", "three", "four", "two KQ three"}) {
    const std::string part = word == std::string("two KQ three") ? "two kay queue three" : word;
    EXPECT_EQ(inOriginal(result, all, text, part), word);
  }
}

TEST_F(Spoken, PartsOfAReplacementMapToTheWholeWord) {
  const std::string text = "one robot, two KQ";
  SpokenText result(text, &dictionary);
  const std::string all = read(result);
  for (const char* part : {"machine man", "machine", "man", "chin"}) {
    EXPECT_EQ(inOriginal(result, all, text, part), "robot");
  }
  EXPECT_EQ(inOriginal(result, all, text, "queue"), "KQ");
  EXPECT_EQ(inOriginal(result, all, text, "one mach"), "one robot");
  EXPECT_EQ(inOriginal(result, all, text, "man, two"), "robot, two");
}

TEST_F(Spoken, BlanksBetweenReplacementsBelongToThem) {
  const std::string text = "在重庆银行OK";
  SpokenText result(text, &dictionary);
  const std::string all = read(result);
  ASSERT_EQ(all, "在chong qing yin hang OK");
  EXPECT_EQ(inOriginal(result, all, text, "qing"), "重庆");
  EXPECT_EQ(inOriginal(result, all, text, " yin"), "银行");
  EXPECT_EQ(inOriginal(result, all, text, "hang "), "银行");
  EXPECT_EQ(inOriginal(result, all, text, "OK"), "OK");
}

// Pieces ---------------------------------------------------------------------------------------

TEST_F(Spoken, IsReadInShortPieces) {
  dictionary.add({"long", std::string(UserDictionary::longestReplacement, 'x')});
  for (const char* some : {"robot ", "long ", "abc ", "a", "重庆", "字", " ", "\xFF"}) {
    const std::string text = repeat(some, 1000000);
    SpokenText result(text, &dictionary);
    EXPECT_LT(result.next()->length, 3000U) << some;
  }
}

TEST_F(Spoken, PiecesHoldWholeCharacters) {
  for (const char* some : {"。", "é", "日", "😀"}) {
    // The first piece would end after the first byte of the longest character.
    const std::string text = "aaa" + repeat(some, 10000);
    SpokenText result(text, &dictionary);
    while (const auto item = result.next()) {
      EXPECT_TRUE(KQ::engines::isValidUtf8(result.view(item->offset, item->length))) << some;
    }
  }
}

TEST_F(Spoken, DropsReleasedText) {
  const std::string text = repeat("robot ", 100000);
  SpokenText result(text, &dictionary);
  while (const auto item = result.next()) {
    result.release(item->offset);
  }
  EXPECT_THROW(result.view(0, 1), std::out_of_range);
}

TEST_F(Spoken, WordInTwoPiecesOfTheOriginalIsReplaced) {
  for (std::size_t before = MarkupReader::longestText - 6; before <= MarkupReader::longestText;
       ++before) {
    const std::string filling(before, '.');
    EXPECT_EQ(spoken(filling + "重庆银行."), filling + "chong qing yin hang.");
  }
}

TEST_F(Spoken, EndOfALongWordInTwoPiecesOfTheOriginalIsNot) {
  const std::string text = std::string(MarkupReader::longestText, 'a') + "robot";
  EXPECT_EQ(spoken(text), text);
}

// Comparison with the whole text ---------------------------------------------------------------

const std::vector<std::string> randomPieces = {" ",
                                               "  ",
                                               "\n\n",
                                               ". ",
                                               ", ",
                                               "。",
                                               "，",
                                               "robot",
                                               "Robot",
                                               "ROBOTS",
                                               "'",
                                               "-",
                                               "’",
                                               "3.5",
                                               "1,",
                                               "a",
                                               "OK",
                                               "KQ",
                                               "été",
                                               "ÉTÉ",
                                               "重",
                                               "重庆",
                                               "银行",
                                               "上海",
                                               "字",
                                               "T",
                                               "恤",
                                               "ロボ",
                                               "ロボット",
                                               "ー",
                                               "กา",
                                               "ก่",
                                               "\xFF",
                                               "\xE9",
                                               "\xE9\x87",
                                               "\\",
                                               "\\robot ",
                                               "\\rst\\",
                                               "\\mrk=1\\",
                                               "\\mrkpause=5\\",
                                               "The dogs run away. ",
                                               "\xCC\x81",
                                               std::string(130, 'a'),
                                               std::string(600, ' '),
                                               std::string(40, '-')};

/// A text of so many random pieces, some of which repeat.
std::string randomText(std::minstd_rand& random, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    const std::string& piece = randomPieces[random() % randomPieces.size()];
    for (auto times = random() % 16 == 0 ? random() % 100 : 1; times > 0; --times) {
      text += piece;
    }
  }
  return text;
}

UserDictionary randomDictionary(std::minstd_rand& random) {
  const std::vector<std::string> words = {
      "robot", "Robot", "kq", "été", "重",   "重庆", "重庆银行", "银行上海", "字字字", "T恤",
      "T",     "ロボ",  "กา", "กาก่", "庆银", "OK",   "a",        "3.5",      "恤OK",   "ロボット"};
  const std::vector<std::string> spoken = {"x", "machine man",          "qing", "字", "ロボ", ".",
                                           "-", std::string(1000, 'y'), "a b."};
  UserDictionary dictionary;
  for (const std::string& word : words) {
    if (random() % 2 == 0) {
      dictionary.add({word, spoken[random() % spoken.size()], random() % 3 == 0});
    }
  }
  return dictionary;
}

TEST(RewrittenText, WithoutAnythingToRewriteIsNotCopied) {
  const std::string original = repeat("Nothing to see here. ", 1000);
  KQ::engines::LanguageRewriter rewriter("en");
  SpokenText text(original, nullptr, &rewriter);
  std::size_t place = 0;
  while (const auto item = text.next()) {
    ASSERT_EQ(text.view(item->offset, item->length).data(), original.data() + place);
    place += item->length;
  }
}

TEST(RewrittenText, IsTheSameFromWhateverPieces) {
  const std::string sentence = "Müller: −5 °C, 3½ %, www.debian.org, Mu\u0308ller \\mrk=1\\ € 5. ";
  const std::string original = repeat(sentence, 100);
  KQ::engines::LanguageRewriter rewriter("en");
  SpokenText text(original, nullptr, &rewriter);
  SpokenText one(sentence, nullptr, &rewriter);
  EXPECT_EQ(read(text), repeat(read(one), 100));
}

TEST(RewrittenText, WordsOfASignStandForIt) {
  const std::string original = "It is −5 °C now";
  KQ::engines::LanguageRewriter rewriter("en");
  SpokenText text(original, nullptr, &rewriter);
  const std::string spoken = read(text);
  ASSERT_EQ(spoken, "It is minus 5 degrees Celsius now");
  const auto originalOf = [&](const std::string& word) {
    const SpeechWord told = text.inOriginal({spoken.find(word), word.size(), 0});
    return original.substr(told.textOffset, told.textLength);
  };
  EXPECT_EQ(originalOf("is"), "is");
  EXPECT_EQ(originalOf("minus"), "−");
  EXPECT_EQ(originalOf("5"), "5");
  EXPECT_EQ(originalOf("degrees"), "°C");
  EXPECT_EQ(originalOf("Celsius"), "°C");
  EXPECT_EQ(originalOf("now"), "now");
}

TEST(RewrittenText, DecomposedAndHyphenatedWordsAreWholeInTheOriginal) {
  const std::string original = "der Mu\u0308l\u00ADler geht";
  KQ::engines::LanguageRewriter rewriter("de");
  SpokenText text(original, nullptr, &rewriter);
  const std::string spoken = read(text);
  ASSERT_EQ(spoken, "der Müller geht");
  const SpeechWord told = text.inOriginal({4, std::string("Müller").size(), 0});
  EXPECT_EQ(original.substr(told.textOffset, told.textLength), "Mu\u0308l\u00ADler");
}

TEST(RewrittenText, IsRewrittenInADictionarysReplacementsToo) {
  UserDictionary dictionary;
  dictionary.add({"cold", "−5 °C"});
  KQ::engines::LanguageRewriter rewriter("en");
  SpokenText text("so cold!", &dictionary, &rewriter);
  EXPECT_EQ(read(text), "so minus 5 degrees Celsius!");
}

TEST(RewrittenText, KeepsTheWordsOfADictionaryThatHoldSigns) {
  UserDictionary dictionary;
  dictionary.add({"R2-D2", "robot"});
  KQ::engines::LanguageRewriter rewriter("en");
  SpokenText text("R2-D2 is at −3", &dictionary, &rewriter);
  EXPECT_EQ(read(text), "robot is at minus 3");
}

TEST(SpokenInPieces, IsAsTheWholeText) {
  std::minstd_rand random(1);
  for (int round = 0; round < 200; ++round) {
    const UserDictionary dictionary = randomDictionary(random);
    const std::string text = randomText(random, round % 100 == 0 ? 3000 : 100);
    ASSERT_EQ(oracle::differenceOfSpokenText(text, dictionary), "") << text;
  }
}

/// The chunks of a text, tags included.
std::vector<std::string> chunksOf(SpokenText&& text) {
  std::vector<std::string> all;
  TextChunks chunks(text);
  while (const TextChunk* chunk = chunks.next()) {
    all.emplace_back();
    for (const MarkupItem& item : *chunk) {
      all.back() += text.view(item.offset, item.length);
    }
  }
  return all;
}

TEST(SpokenInPieces, IsCutLikeTheWholeText) {
  std::minstd_rand random(2);
  for (int round = 0; round < 8; ++round) {
    const UserDictionary dictionary = randomDictionary(random);
    const std::string text = randomText(random, 1500);
    const std::string whole = oracle::rewrite(text, dictionary).text;
    ASSERT_EQ(chunksOf(SpokenText(text, &dictionary)), chunksOf(SpokenText(whole))) << text;
  }
}

}  // namespace
