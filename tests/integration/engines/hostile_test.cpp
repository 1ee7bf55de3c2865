#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "engines/speaking_engine.hpp"
#include "support/row_name.hpp"

namespace {

using test::SpeakingEngine;
using test::spoken;
using ::testing::ElementsAre;

struct TextRow {
  const char* name;
  std::string text;
};

const TextRow strangeTexts[] = {
    {"Nul", std::string("one\0two", 7)},
    {"OnlyNuls", std::string(1000, '\0')},
    {"ControlCharacters", "\x01\x02\x03\x04 50S \x01 200P hello \x1B[0m\x7F"},
    {"InvalidUtf8", "caf\xE9 \xFF\xFE \xC0\x80 \xED\xA0\x80 \xF8\x88\x80\x80\x80 end"},
    {"CutUtf8", "end \xE6\x97"},
    {"RightToLeft", "שלום \xE2\x80\xAE abc \xE2\x80\xAC مرحبا"},
    {"Emoji", "😀👩‍👩‍👧‍👦🏳️‍🌈 ok"},
    {"PrivateUse", "\xEE\x80\x80 \xEF\xA3\xBF \xF3\xB0\x80\x80 ok"},
    {"Noncharacters", "\xEF\xBF\xBE \xEF\xBF\xBF \xF4\x8F\xBF\xBF ok"},
    {"IndicDigits", "\xE0\xA7\xA6 \xE0\xAF\xA6 \xE0\xB5\xA6 \xE1\x83\xBB \xE1\x86\x80 ok"},
    {"LongWord", std::string(test::engineUnderTest().lengthOfStrangeTexts, 'a')},
    {"LongNumber", std::string(test::engineUnderTest().lengthOfStrangeTexts, '7')},
    {"ManyFullStops", std::string(test::engineUnderTest().lengthOfStrangeTexts, '.')},
    {"ManyBlanks", std::string(100000, ' ')},
    {"ManyLines", std::string(100000, '\n')},
    {"ManyCombiningMarks", "e" +
                               [] {
                                 std::string marks;
                                 for (int i = 0; i < 3000; ++i) {
                                   marks += "\xCC\x81";
                                 }
                                 return marks;
                               }()},
    {"LooksLikeMarkup", "<speak><audio src=\"x\"/><say-as interpret-as=\"tts:char\">"},
    {"UnclosedMarkup", "<voice name=\"\\mrk=1\\ & &#x41 &amp &; <!-- <![CDATA["},
    {"LooksLikePhonemes", "[[h@l'oU]] [[ [[[[ ]]"},
    {"ManyBackslashes", std::string(50000, '\\')},
};

class StrangeText : public ::testing::TestWithParam<TextRow> {};

TEST_P(StrangeText, IsSpokenToItsEnd) {
  SpeakingEngine speaking;
  speaking->startSynthetizer(GetParam().text);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::finished));
}

INSTANTIATE_TEST_SUITE_P(Table, StrangeText, ::testing::ValuesIn(strangeTexts), test::RowName());

TEST(StrangeTexts, TextAfterANulIsSpoken) {
  SpeakingEngine speaking;
  const std::string text("one\0two", 7);
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("one", "two"));
}

TEST(StrangeTexts, InvalidBytesSeparateWords) {
  SpeakingEngine speaking;
  const std::string text = "one\xFFtwo";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("one", "two"));
}

TEST(StrangeTexts, CommandsOfTheSynthesiserAreIgnored) {
  const double normal = test::length(spoken("Hello my friend"));
  EXPECT_NEAR(test::length(spoken("\x01 Hello my friend")), normal, normal * 0.01);
  EXPECT_GT(test::length(spoken("\x01 80S Hello my friend")),
            normal * 1.2);  // the number is spoken
}

TEST(StrangeTexts, MarkupIsSpokenWithTagsToo) {
  const std::string markup = "a <break time=\"5s\"/> b";
  const double plain = test::length(spoken(markup));
  EXPECT_NEAR(test::length(spoken("\\mrk=1\\ " + markup)), plain, plain * 0.03);
}

TEST(StrangeTexts, WordsAfterSkippedCharactersAreEmitted) {
  SpeakingEngine speaking;
  const std::string text = "one \u0F40\u0F40 two";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("one", "two"));
}

TEST(StrangeTexts, PhonemesAreSpokenAsText) {
  SpeakingEngine speaking;
  const std::string text = "[[hello]]";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("hello"));
}

TEST(StrangeTexts, TenMegabytesCanBeStopped) {
  SpeakingEngine speaking;
  int buffers = 0;
  speaking.host.atAudio = [&] { return ++buffers < 1000; };
  std::string text = test::longText();
  while (text.size() < 10000000) {
    text += text;
  }
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST(StrangeTexts, RandomBytesAreSpokenToTheirEnd) {
  SpeakingEngine speaking(test::engineUnderTest().allPackages);
  const std::vector<std::string> languages = speaking->getAvailableLanguages();
  std::minstd_rand random(1);
  for (int round = 0; round < test::engineUnderTest().strangeTexts; ++round) {
    speaking->setCurrentLanguage(languages[random() % languages.size()]);
    std::string text;
    for (int i = 0; i < 60; ++i) {
      text += static_cast<char>(random());
    }
    speaking->startSynthetizer(text);
  }
  EXPECT_EQ(speaking.host.ends().size(),
            static_cast<unsigned>(test::engineUnderTest().strangeTexts));
}

TEST(StrangeTexts, RandomPiecesAreSpokenToTheirEnd) {
  SpeakingEngine speaking(test::engineUnderTest().allPackages);
  const std::vector<std::string> languages = speaking->getAvailableLanguages();
  const std::vector<std::string> pieces{
      "\\", "\\mrk=", "1",   "\\Pau=1\\", "\\RSPD=400\\", "\\Vol=0\\", "\\VCT=200\\", "\\RST\\",
      "<",  ">",      "&",   "é",         "日本",         "😀",         " ",           "\n",
      ".",  ",",      "?",   "word",      "12.5",         "\xC3",      "'",           "-",
      "[[", "]]",     "\x01"};
  std::minstd_rand random(2);
  for (int round = 0; round < test::engineUnderTest().strangeTexts; ++round) {
    speaking->setCurrentLanguage(languages[random() % languages.size()]);
    std::string text;
    for (int i = 0; i < 40; ++i) {
      text += pieces[random() % pieces.size()];
    }
    speaking->startSynthetizer(text);
  }
  EXPECT_EQ(speaking.host.ends().size(),
            static_cast<unsigned>(test::engineUnderTest().strangeTexts));
}

}  // namespace
