#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>

#include "speaker/catalogue.hpp"
#include "speaker/script_runs.hpp"
#include "speaker_setup.hpp"

namespace {

using KQ::SpeechOptions;
using KQ::Utterance;
using KQ::UtteranceEnd;
using test::SpeakerSetup;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

SpeechOptions inLanguage(const std::string& language) {
  SpeechOptions options;
  options.language = language;
  return options;
}

TEST(Languages, AreChosenByNameAndByLocale) {
  SpeakerSetup setup;
  for (const char* written : {"French", "french", "fr_FR", "fr-FR", "fr-fr", "fr"}) {
    EXPECT_EQ(setup.say("Un.", inLanguage(written)).voice().language, "French") << written;
  }
}

TEST(Languages, ARelatedOneIsTakenAndTheHostLearnsIt) {
  SpeakerSetup setup;

  const Utterance utterance = setup.say("Un.", inLanguage("FrenchCanadian"));

  EXPECT_EQ(utterance.voice().wanted, "FrenchCanadian");
  EXPECT_EQ(utterance.voice().language, "French");
  EXPECT_EQ(utterance.voice().engine, "Stage aitalk");
}

TEST(Languages, OneThatNobodySpeaksFailsAndSaysSo) {
  SpeakerSetup setup;

  const Utterance utterance = setup.say("Un.", inLanguage("Klingon"));

  EXPECT_EQ(utterance.end(), UtteranceEnd::failed);
  EXPECT_THAT(utterance.error(), HasSubstr("Klingon"));
}

TEST(Languages, AnOutdatedPackageOfOneEngineDoesNotForbidAnother) {
  SpeakerSetup setup;
  setup.stage.add("nuance", "French", "0.9");

  const Utterance utterance = setup.say("Un.", inLanguage("French"));

  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_EQ(utterance.voice().engine, "Stage aitalk");
}

TEST(Languages, AnEngineThatCannotStartFallsToAnother) {
  SpeakerSetup setup;
  setup.stage.add("nuance", "French");
  test::stage::script("nuance").atStart = [](const std::string&) {
    throw std::runtime_error("Gone.");
  };

  const Utterance utterance = setup.say("Un.", inLanguage("French"));

  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_EQ(utterance.voice().engine, "Stage aitalk");
}

TEST(Languages, TheSpeakersOwnOneIsThatOfTheSettingsOrOfTheEngines) {
  SpeakerSetup setup;
  setup.settings.language = "de";

  EXPECT_EQ(setup.speaker().language(), "German");
  EXPECT_FALSE(setup.speaker().setLanguage("Klingon"));
  EXPECT_TRUE(setup.speaker().setLanguage("ru_RU"));
  EXPECT_EQ(setup.speaker().language(), "Russian");
}

TEST(Languages, AreListedWithTheirVoicesAndParameters) {
  SpeakerSetup setup;

  std::vector<std::string> names;
  for (const KQ::SpokenLanguage& language : setup.speaker().languages()) {
    names.push_back(language.name + " " + language.locale + " " + language.engine);
  }

  EXPECT_THAT(names, testing::UnorderedElementsAre(
                         "English en_US Stage nuance", "German de_DE Stage nuance",
                         "French fr_FR Stage aitalk", "Russian ru_RU Stage aitalk"));
  EXPECT_EQ(setup.speaker().voices().size(), 8U);
  EXPECT_THAT(setup.speaker().parameters("fr"), ElementsAre("speed"));
  EXPECT_TRUE(setup.speaker().parameters("Klingon").empty());
}

TEST(Voices, BringTheirLanguageAndAreForgottenAfterTheUtterance) {
  SpeakerSetup setup;
  SpeechOptions options;
  options.voice = "french-aitalk-2";

  EXPECT_EQ(setup.say("Un.", options).voice().voice, "french-aitalk-2");
  EXPECT_EQ(setup.say("Un.", inLanguage("French")).voice().voice, "french-aitalk");
  options.voice = "nobody";
  EXPECT_THAT(setup.say("Un.", options).error(), HasSubstr("nobody"));
}

TEST(Parameters, HoldForOneUtterance) {
  SpeakerSetup setup;
  SpeechOptions options;
  options.parameters["speed"] = 150;
  EXPECT_EQ(setup.say("One.", options).end(), UtteranceEnd::finished);

  options.parameters["colour"] = 1;
  const Utterance failed = setup.say("Two.", options);

  EXPECT_THAT(failed.error(), HasSubstr("colour"));
  EXPECT_EQ(setup.say("Three.").end(), UtteranceEnd::finished);
}

TEST(Parameters, RateAndPitchAreTagsBeforeEachSentence) {
  SpeakerSetup setup;
  SpeechOptions options;
  options.rate = 1.5;
  options.pitch = 9;

  setup.say("One. \\RSPD=70\\ Two \\RST\\ three.", options);

  EXPECT_THAT(test::stage::takeStarts(),
              ElementsAre("nuance English: \\RSPD=150\\\\VCT=200\\One. ",
                          "nuance English: \\RSPD=150\\\\VCT=200\\\\RSPD=70\\ Two "
                          "\\RST\\\\RSPD=150\\\\VCT=200\\ three."));
}

TEST(Parameters, VolumeScalesTheSamples) {
  SpeakerSetup setup;
  setup.say("One.");
  const auto full = setup.notes->audio();
  SpeakerSetup quiet;
  SpeechOptions options;
  options.volume = 0.5;
  quiet.say("One.", options);

  const auto half = quiet.notes->audio();

  ASSERT_EQ(half.size(), full.size());
  for (std::size_t i = 0; i < full.size(); ++i) {
    EXPECT_NEAR(half[i], full[i] / 2.0, 1);
  }
}

TEST(MixedText, GoesToTheEnginesOfItsLanguages) {
  SpeakerSetup setup;

  setup.say("He said \\Lang=fr\\bonjour mes amis\\RST\\ to Дмитрий Иванович and left.");

  EXPECT_THAT(test::stage::takeStarts(),
              ElementsAre("nuance English: He said ", "aitalk French: bonjour mes amis",
                          "nuance English:  to ", "aitalk Russian: Дмитрий Иванович ",
                          "nuance English: and left."));
  EXPECT_THAT(
      setup.notes->notes("word"),
      ElementsAre("1 word He", "1 word said", "1 word bonjour", "1 word mes", "1 word amis",
                  "1 word to", "1 word Дмитрий", "1 word Иванович", "1 word and", "1 word left."));
}

TEST(MixedText, IsOfOneSamplingRateWithWordsAtTheirAudio) {
  SpeakerSetup setup;
  test::stage::script("nuance").samplingRate = 16000;
  test::stage::script("aitalk").samplingRate = 22050;
  test::stage::script("aitalk").samplesPerLetter = 2205;
  test::stage::script("nuance").samplesPerLetter = 1600;

  setup.say("One \\Lang=fr\\deux trois\\RST\\ four.");

  EXPECT_THAT(setup.notes->rates, Each(16000));
  ASSERT_EQ(setup.notes->words.size(), 4U);
  EXPECT_NEAR(static_cast<double>(setup.notes->words[1].samplePosition), 3 * 1600, 400);
  EXPECT_NEAR(static_cast<double>(setup.notes->words[2].samplePosition), 7 * 1600, 400);
  EXPECT_NEAR(static_cast<double>(setup.notes->words[3].samplePosition), 12 * 1600, 400);
  EXPECT_NEAR(static_cast<double>(setup.notes->audio().size()), 17 * 1600, 600);
}

TEST(MixedText, HasNoPauseWhereTwoVoicesMeet) {
  SpeakerSetup setup;
  test::stage::script("nuance").silenceAtEnds = 8000;
  test::stage::script("aitalk").silenceAtEnds = 8000;
  test::stage::script("aitalk").samplingRate = 16000;

  setup.say("One \\Lang=fr\\deux\\RST\\ three.");

  const auto audio = setup.notes->audio();
  std::size_t longest = 0;
  std::size_t run = 0;
  for (std::size_t i = 8000; i + 8000 < audio.size(); ++i) {
    run = std::abs(audio[i]) < 64 ? run + 1 : 0;
    longest = std::max(longest, run);
  }
  EXPECT_LT(longest, 16000 * 0.05);
  EXPECT_NEAR(static_cast<double>(audio.size()), 2 * 8000 + 13 * 100, 1000);
}

double levelOf(const std::vector<std::int16_t>& audio, std::size_t begin, std::size_t end) {
  double squares = 0;
  for (std::size_t i = begin; i < end; ++i) {
    squares += static_cast<double>(audio[i]) * audio[i];
  }
  return 10 * std::log10(squares / static_cast<double>(end - begin));
}

TEST(MixedText, HasOneLoudness) {
  SpeakerSetup setup;
  test::stage::script("nuance").samplesPerLetter = 3200;
  test::stage::script("aitalk").samplesPerLetter = 3200;
  test::stage::script("aitalk").amplitude = 2500;

  setup.say("bbbb bbbb \\Lang=fr\\bbbb bbbb\\RST\\ bbbb bbbb.");

  const auto audio = setup.notes->audio();
  const std::size_t part = 8 * 3200;
  ASSERT_GE(audio.size(), 3 * part);
  EXPECT_NEAR(levelOf(audio, 1600, part - 1600), levelOf(audio, part + 1600, 2 * part - 1600), 1);
}

TEST(MixedText, OfALanguageThatNobodySpeaksIsReadByTheUtterancesOwnVoice) {
  SpeakerSetup setup;

  const Utterance utterance = setup.say("One \\Lang=tlh\\ Qapla \\RST\\ two.");

  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_THAT(setup.notes->notes("word"), ElementsAre("1 word One", "1 word Qapla", "1 word two."));
}

TEST(MixedText, ScriptsAreNotLookedAtWhereTheHostSaysSo) {
  SpeakerSetup setup;
  SpeechOptions options;
  options.detectLanguages = false;

  setup.say("To Дмитрий.", options);

  EXPECT_THAT(test::stage::takeStarts(), ElementsAre("nuance English: To Дмитрий."));
}

TEST(Spelling, NamesEachCharacterAtItsPlace) {
  SpeakerSetup setup;
  SpeechOptions options;
  options.format = KQ::TextFormat::characters;

  setup.say("aß b", options);

  EXPECT_THAT(setup.notes->notes("word"), ElementsAre("1 word a", "1 word ß", "1 word b"));
}

struct RunsCase {
  const char* locale;
  const char* text;
  const char* runs;
};

class Scripts : public testing::TestWithParam<RunsCase> {};

TEST_P(Scripts, AreSplit) {
  KQ::speaking::ScriptRuns runs(GetParam().locale, [](const std::string& code) {
    return code == "en" || code == "ru" || code == "ja" || code == "zh" || code == "el";
  });
  std::string found;
  runs.split(GetParam().text, [&](std::string_view stretch, const std::string& code) {
    found += "[" + code + ":" + std::string(stretch) + "]";
  });
  EXPECT_EQ(found, GetParam().runs);
}

INSTANTIATE_TEST_SUITE_P(
    Languages, Scripts,
    testing::Values(RunsCase{"en_US", "Just English, 12!", "[:Just English, 12!]"},
                    RunsCase{"en_US", "I like Москва a lot", "[:I like ][ru:Москва ][:a lot]"},
                    RunsCase{"ru_RU", "Скажи hello", "[:Скажи hello]"},
                    RunsCase{"ru_RU", "Скажи hello my friend да",
                             "[:Скажи ][en:hello my friend ][:да]"},
                    RunsCase{"en_US", "Say 你好 now", "[:Say ][zh:你好 ][:now]"},
                    RunsCase{"en_US", "Say 日本のうた now", "[:Say ][ja:日本のうた ][:now]"},
                    RunsCase{"ja_JP", "日本のうた", "[:日本のうた]"},
                    RunsCase{"en_US", "ไทย is Thai", "[:ไทย is Thai]"},
                    RunsCase{"fr_FR", "Alpha et Ωμέγα", "[:Alpha et ][el:Ωμέγα]"}));

TEST(Phonemes, ComeWithVisemesAndDurations) {
  SpeakerSetup setup;
  setup.notes->hearsPhonemes = true;
  test::stage::script("nuance").reportsPhonemes = true;

  setup.say("pa fi");

  EXPECT_THAT(setup.notes->notes(),
              ElementsAre("1 start", "1 voice english-nuance", "1 word pa", "1 phoneme p 0+100",
                          "1 viseme 21 PP", "1 phoneme a 100+100", "1 viseme 2 aa", "1 word fi",
                          "1 phoneme f 200+100", "1 viseme 18 FF", "1 phoneme i 300+100",
                          "1 viseme 6 I", "1 end finished"));
  EXPECT_EQ(setup.notes->audio().size(), 400U);
}

}  // namespace
