#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "speaker/say_as.hpp"
#include "speaker/ssml_values.hpp"
#include "speaker_setup.hpp"

namespace {

using KQ::SpeechOptions;
using KQ::Utterance;
using KQ::UtteranceEnd;
using std::chrono::seconds;
using test::SpeakerSetup;
using testing::ElementsAre;
using testing::HasSubstr;

SpeechOptions asSsml() {
  SpeechOptions options;
  options.format = KQ::TextFormat::ssml;
  return options;
}

/// What the engines are given for the inside of a document.
std::vector<std::string> startsOf(const std::string& inside) {
  SpeakerSetup setup;
  const Utterance utterance = setup.say("<speak>" + inside + "</speak>", asSsml());
  EXPECT_EQ(utterance.error(), "");
  return test::stage::takeStarts();
}

struct Row {
  const char* ssml;
  const char* spoken;
};

class Elements : public testing::TestWithParam<Row> {};

TEST_P(Elements, AreGivenToTheEngine) {
  EXPECT_THAT(startsOf(GetParam().ssml),
              ElementsAre(std::string("nuance English: ") + GetParam().spoken));
}

INSTANTIATE_TEST_SUITE_P(
    Ssml, Elements,
    testing::Values(Row{"Hello &amp; goodbye", "Hello & goodbye"},
                    Row{"One <break time=\"1.5s\"/> two", "One \\Pau=1500\\ two"},
                    Row{"One <break strength=\"strong\"/> two", "One \\Pau=700\\ two"},
                    Row{"One <break strength=\"none\"/>two", "One two"},
                    Row{"<prosody rate=\"slow\">One</prosody>", "\\RSPD=75\\One\\RST\\"},
                    Row{"<prosody rate=\"120%\" pitch=\"+2st\" volume=\"-6dB\">One</prosody>",
                        "\\RSPD=120\\\\VCT=112\\\\Vol=50\\One\\RST\\"},
                    Row{"<prosody rate=\"nonsense\">One</prosody>", "One"},
                    Row{"A <emphasis level=\"strong\">big</emphasis> one",
                        "A \\RST\\\\RSPD=85\\\\VCT=115\\big\\RST\\ one"},
                    Row{"<sub alias=\"World Wide Web\">WWW</sub>", "World Wide Web"},
                    Row{"<say-as interpret-as=\"characters\">abc</say-as>", "a, b, c"},
                    Row{"<say-as interpret-as=\"date\" format=\"dmy\">5.1.2024</say-as>",
                        "January 5, 2024"},
                    Row{"<phoneme alphabet=\"ipa\" ph=\"x\">tomato</phoneme>", "tomato"},
                    Row{"<audio src=\"a.wav\"><desc>a bell</desc>ding</audio>", "ding"},
                    Row{"<unknown>read through</unknown>", "read through"},
                    Row{"<metadata>hidden</metadata>seen", "seen"},
                    Row{"a\\Pau=5\\b", "a Pau=5 b"}));

TEST(Ssml, SentencesAndParagraphsEndWhereTheySay) {
  EXPECT_THAT(startsOf("<p><s>One</s><s>two</s></p><p>three</p>"),
              ElementsAre("nuance English: One", "nuance English: two",
                          "nuance English: \\Pau=400\\three\\Pau=400\\"));
}

TEST(Ssml, LanguagesGoToTheirEngines) {
  EXPECT_THAT(startsOf("One <lang xml:lang=\"fr-FR\">deux</lang> three"),
              ElementsAre("nuance English: One ", "aitalk French: deux", "nuance English:  three"));
  EXPECT_THAT(startsOf("<voice name=\"german-nuance\">drei</voice>"),
              ElementsAre("nuance German: drei"));
}

TEST(Ssml, MarksHaveNamesAndWordsTheirPlacesInTheDocument) {
  SpeakerSetup setup;
  const std::string document =
      "<speak>One &lt; <mark name=\"here &amp; now\"/>two <sub alias=\"number "
      "three\">3</sub></speak>";

  setup.say(document, asSsml());

  EXPECT_THAT(setup.notes->notes(),
              ElementsAre("1 start", "1 voice english-nuance", "1 word One", "1 word &lt;",
                          "1 mark here & now", "1 word two", "1 word 3", "1 end finished"));
}

TEST(Ssml, PiecesOfAnySizeSoundAsTheWholeDoes) {
  const std::string document =
      "<?xml version=\"1.0\"?><speak xml:lang=\"en\"><!-- no --><p>First sentence. Second "
      "<emphasis>big</emphasis> one &#8212; here.</p><lang xml:lang=\"ru\">Привет</lang></speak>";
  SpeakerSetup whole;
  whole.say(document, asSsml());
  for (std::size_t size = 1; size <= 5; ++size) {
    SpeakerSetup setup;
    setup.notes->text = document;
    SpeechOptions options = asSsml();
    options.clauseDelay = seconds(60);
    const KQ::OpenUtterance utterance = setup.speaker().open(options);
    for (std::size_t at = 0; at < document.size(); at += size) {
      utterance.append(document.substr(at, size));
    }
    utterance.finish();
    ASSERT_TRUE(utterance.waitFor(seconds(60)));

    EXPECT_EQ(setup.notes->audio(), whole.notes->audio()) << "pieces of " << size;
  }
}

class Faulty : public testing::TestWithParam<Row> {};

TEST_P(Faulty, DocumentsFailWithTheReason) {
  SpeakerSetup setup;

  const Utterance utterance = setup.say(GetParam().ssml, asSsml());

  EXPECT_EQ(utterance.end(), UtteranceEnd::failed);
  EXPECT_THAT(utterance.error(), HasSubstr(GetParam().spoken));
}

INSTANTIATE_TEST_SUITE_P(
    Ssml, Faulty,
    testing::Values(Row{"plain text", "at byte"}, Row{"<speak>One</s>", "mismatched tag at byte"},
                    Row{"<speak>One", "no element found"},
                    Row{"<!DOCTYPE s [<!ENTITY a \"aa\">]><speak>&a;</speak>", "entity"},
                    Row{"", "no element found"}));

TEST(Ssml, WhatStandsBeforeAFaultIsSpoken) {
  SpeakerSetup setup;

  setup.say("<speak><s>One.</s> <b>two</speak>", asSsml());

  EXPECT_THAT(setup.notes->notes("word"), testing::Contains("1 word One."));
}

TEST(Ssml, DeepNestingIsRefused) {
  SpeakerSetup setup;
  std::string document;
  for (int i = 0; i < 100000; ++i) {
    document += "<speak>";
  }

  EXPECT_THAT(setup.say(document, asSsml()).error(), HasSubstr("too deeply"));
}

struct SayAsRow {
  const char* kind;
  const char* format;
  const char* text;
  const char* locale;
  const char* spoken;
};

class SayAs : public testing::TestWithParam<SayAsRow> {};

TEST_P(SayAs, IsSpoken) {
  const SayAsRow& row = GetParam();
  EXPECT_EQ(KQ::speaking::spokenAs(row.kind, row.format, row.text, row.locale), row.spoken);
}

INSTANTIATE_TEST_SUITE_P(
    Ssml, SayAs,
    testing::Values(SayAsRow{"digits", "", "407", "en_US", "4 0 7"},
                    SayAsRow{"telephone", "", "+49 30 1234", "de_DE", "+ 4 9, 3 0, 1 2 3 4"},
                    SayAsRow{"cardinal", "", " 42 ", "en_US", "42"},
                    SayAsRow{"ordinal", "", "1", "en_US", "1st"},
                    SayAsRow{"ordinal", "", "12", "en_US", "12th"},
                    SayAsRow{"ordinal", "", "23", "en_US", "23rd"},
                    SayAsRow{"ordinal", "", "3", "de_DE", "3."},
                    SayAsRow{"ordinal", "", "1", "fr_FR", "1er"},
                    SayAsRow{"ordinal", "", "1", "ja_JP", "1"},
                    SayAsRow{"date", "mdy", "02/03/2024", "de_DE", "3. Februar 2024"},
                    SayAsRow{"date", "", "2024-12-31", "es_ES", "31 de diciembre de 2024"},
                    SayAsRow{"date", "dmy", "31.13.2024", "en_US", "31.13.2024"},
                    SayAsRow{"time", "hms12", "2:30pm", "en_US", "2:30 pm"},
                    SayAsRow{"characters", "", "é 1", "fr_FR", "é, 1"},
                    SayAsRow{"cardinal", "", "no number", "en_US", "no number"},
                    SayAsRow{"colour", "", "as written", "en_US", "as written"}));

}  // namespace
