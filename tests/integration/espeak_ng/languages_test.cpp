#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <kqtts/texttospeech_manager.hpp>
#include <map>
#include <string>
#include <vector>

#include "espeak_engine.hpp"
#include "support/errors.hpp"
#include "support/row_name.hpp"
#include "support/temp_folder.hpp"

namespace {

using test::FreshEngine;
using test::Samples;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Pair;

struct LanguageRow {
  const char* name;
  const char* sentence;
  const char* program;             ///< the synthesiser's own program's name for the voice
  const char* asSpoken = nullptr;  ///< the text for that program, if it differs from the sentence
};

const LanguageRow languageRows[] = {
    {"Arabic", "مرحبا، كيف حالك اليوم؟", "ar"},
    {"Brazilian", "Bom dia, como você está hoje?", "pt-br"},
    {"CantoneseHK", "你好，今日天氣好好。", "yue"},
    {"Chinese", "你好，今天天气很好。", "cmn-latn-pinyin"},
    {"Czech", "Dobrý den, jak se dnes máte?", "cs"},
    {"Danish", "Goddag, hvordan har du det i dag?", "da"},
    {"Dutch", "Goedendag, hoe gaat het met u?", "nl"},
    {"English", "Good morning, how are you today?", "en-us"},
    {"EnglishAustralia", "Good morning, how are you today?", "en-gb"},
    {"EnglishGB", "Good morning, how are you today?", "en-gb"},
    {"EnglishIndian", "Good morning, how are you today?", "en-gb"},
    {"Finnish", "Hyvää päivää, mitä kuuluu?", "fi"},
    {"French", "Bonjour, comment allez-vous aujourd'hui ?", "fr-fr"},
    {"FrenchCanadian", "Bonjour, comment allez-vous aujourd'hui ?", "fr-fr"},
    {"German", "Guten Tag, wie geht es Ihnen heute?", "de"},
    {"Greek", "Καλημέρα σας, τι κάνετε σήμερα;", "el"},
    {"Italian", "Buongiorno, come sta oggi?", "it"},
    {"Japanese", "私は東京へ行く。", "ja", "ワタシワ トーキョーエ イク。"},
    {"Korean", "안녕하세요, 만나서 반갑습니다.", "ko"},
    {"MandarinTaiwan", "你好，今天天氣很好。", "cmn-latn-pinyin"},
    {"Norwegian", "God dag, hvordan har du det i dag?", "nb"},
    {"Polish", "Dzień dobry, jak się pan ma?", "pl"},
    {"Portuguese", "Bom dia, como está hoje?", "pt"},
    {"Russian", "Добрый день, как ваши дела?", "ru"},
    {"Spanish", "Buenos días, ¿cómo está usted hoy?", "es"},
    {"SpanishMexico", "Buenos días, ¿cómo está usted hoy?", "es-419"},
    {"Swedish", "God dag, hur mår du i dag?", "sv"},
    {"Turkish", "İyi günler, bugün nasılsınız?", "tr"},
};

class EveryLanguage : public ::testing::TestWithParam<LanguageRow> {
 protected:
  /// The samples of the sentence, spoken by the synthesiser's own program.
  Samples programsSamples() const {
    const std::string file = (folder.path() / "program.wav").string();
    const std::string text =
        folder
            .write("sentence.txt",
                   GetParam().asSpoken == nullptr ? GetParam().sentence : GetParam().asSpoken)
            .string();
    const std::string command = std::string("espeak-ng -v ") + GetParam().program + " -w '" + file +
                                "' -f '" + text + "' >'" + (folder.path() / "log").string() +
                                "' 2>&1";
    return std::system(command.c_str()) == 0 ? test::readWav(file) : Samples();
  }

  test::TempFolder folder;
};

TEST_P(EveryLanguage, SoundsAsFromTheSynthesisersOwnProgram) {
  FreshEngine speaking(test::espeakPackages());
  speaking->setCurrentLanguage(GetParam().name);
  speaking->startSynthetizer(GetParam().sentence);

  const Samples samples = speaking.host.samples();
  const Samples expected = programsSamples();
  ASSERT_FALSE(expected.empty());
  EXPECT_NEAR(test::length(samples), test::length(expected), test::length(expected) * 0.01);
  EXPECT_GT(test::level(samples), 500);
  EXPECT_NEAR(test::level(samples), test::level(expected), test::level(expected) * 0.02);
}

TEST_P(EveryLanguage, SaysMinus) {
  FreshEngine speaking(test::espeakPackages());
  speaking->setCurrentLanguage(GetParam().name);
  const std::string text = "5 − 3";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("5", "−", "3"));
}

TEST_P(EveryLanguage, SaysMoneyAndDegrees) {
  FreshEngine speaking(test::espeakPackages());
  speaking->setCurrentLanguage(GetParam().name);
  const std::string text = "5 € 7 ℃";
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("5", "€", "7", "℃"));
}

TEST_P(EveryLanguage, HasAFemaleVoiceThatSoundsHigher) {
  FreshEngine speaking(test::espeakPackages());
  speaking->setCurrentLanguage(GetParam().name);
  speaking->startSynthetizer(GetParam().sentence);
  const auto voices = speaking->getAvailableVoices();
  const auto female = std::find_if(voices.begin(), voices.end(), [](const auto& voice) {
    return voice.first.find("-female") != std::string::npos;
  });
  ASSERT_NE(female, voices.end());
  FreshEngine second(test::espeakPackages());
  second->setCurrentVoice(female->first);
  second->startSynthetizer(GetParam().sentence);

  const int rate = speaking.host.samplingRate();
  EXPECT_GT(test::pitch(second.host.samples(), rate),
            test::pitch(speaking.host.samples(), rate) * 1.2);
}

INSTANTIATE_TEST_SUITE_P(Table, EveryLanguage, ::testing::ValuesIn(languageRows), test::RowName());

struct MixedRow {
  const char* name;
  const char* package;
  const char* text;
  std::vector<std::string> words;  ///< that are in it, in this order
};

class MixedText : public ::testing::TestWithParam<MixedRow> {
 protected:
  FreshEngine speaking{{GetParam().package == std::string("english")
                            ? test::englishPackage()
                            : test::builtPackage(GetParam().package)}};
};

TEST_P(MixedText, HasEachWordSpokenInOrder) {
  const std::string text = GetParam().text;
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ::testing::ElementsAreArray(GetParam().words));
}

TEST_P(MixedText, SoundsOtherwiseWithoutOtherVoices) {
  speaking->startSynthetizer(GetParam().text);
  FreshEngine alone({GetParam().package == std::string("english")
                         ? test::englishPackage()
                         : test::builtPackage(GetParam().package)});
  alone->setParameter("otherScripts", 0);
  alone->startSynthetizer(GetParam().text);
  EXPECT_NE(alone.host.samples(), speaking.host.samples());
}

INSTANTIATE_TEST_SUITE_P(
    Table, MixedText,
    ::testing::Values(
        MixedRow{"RussianInGerman",
                 "german",
                 "Er sagt Привет мир zu uns.",
                 {"Er", "sagt", "Привет", "мир", "zu", "uns"}},
        MixedRow{"GreekInEnglish", "english", "Say καλημέρα twice", {"Say", "καλημέρα", "twice"}},
        MixedRow{"LatinInChinese", "chinese", "我 Linux 好", {"我", "Linux", "好"}},
        MixedRow{"LatinInJapanese", "japanese", "これは Linux です", {"これは", "Linux", "です"}},
        MixedRow{"KanaInFrench", "french", "Il dit さくら ici", {"Il", "dit", "さくら", "ici"}},
        MixedRow{"KoreanInSpanish", "spanish", "dice 안녕 ahora", {"dice", "안녕", "ahora"}},
        MixedRow{"ChineseInKorean", "korean", "나는 中 좋아", {"나는", "中", "좋아"}},
        MixedRow{"ArabicInItalian", "italian", "dice مرحبا oggi", {"dice", "مرحبا", "oggi"}},
        MixedRow{"HebrewInPolish", "polish", "mówi שלום dziś", {"mówi", "שלום", "dziś"}},
        MixedRow{"HindiInTurkish", "turkish", "dedi नमस्ते bugün", {"dedi", "नमस्ते", "bugün"}},
        MixedRow{"ThaiInDutch", "dutch", "zegt สวัสดี nu", {"zegt", "สวัสดี", "nu"}},
        MixedRow{"RussianInArabic", "arabic", "قال Привет اليوم", {"قال", "Привет", "اليوم"}}),
    test::RowName());

TEST(Languages, AreThoseOfTheLanguageTable) {
  FreshEngine speaking(test::espeakPackages());
  std::vector<std::string> languages = speaking->getAvailableLanguages();
  std::sort(languages.begin(), languages.end());
  EXPECT_EQ(languages, KQ::TTSLanguageInfo().getLanguages());
}

TEST(Languages, ComeInTheOrderOfThePackages) {
  FreshEngine speaking({test::builtPackage("turkish"), test::builtPackage("czech")});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("Turkish", "Czech"));
}

TEST(Languages, TheFirstOneIsEnglishIfThatIsInstalled) {
  FreshEngine speaking({test::builtPackage("czech"), test::englishPackage()});
  EXPECT_EQ(speaking->getCurrentLanguage(), "English");
}

TEST(Languages, WithoutEnglishTheFirstPackagesLanguageIsChosen) {
  FreshEngine speaking({test::builtPackage("turkish"), test::builtPackage("czech")});
  EXPECT_EQ(speaking->getCurrentLanguage(), "Turkish");
  EXPECT_EQ(speaking->getCurrentVoice(), "turkish-male");
}

TEST(Languages, HaveTheirOwnDictionaries) {
  const test::TempFolder data;
  ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
  const auto englishRobot = [](const char* language) {
    return test::spoken("robot", [&](KQ::TextToSpeechEngine& engine) {
      engine.addToDictionary("robot", "a machine that works", language, "", "");
    });
  };
  const Samples withFrench = englishRobot("French");
  const Samples withEnglish = englishRobot("English");
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(withFrench, test::spoken("robot"));
  EXPECT_EQ(withEnglish, test::spoken("a machine that works"));
}

TEST(Languages, WithoutBlanksHaveTheirEntriesFound) {
  const test::TempFolder data;
  ::setenv("XDG_DATA_HOME", data.path().c_str(), 1);
  const std::string text = "我爱重庆银行。";
  FreshEngine speaking({test::builtPackage("chinese")});
  speaking->startSynthetizer(text);
  const std::vector<std::string> before = speaking.host.words(text);
  speaking->addToDictionary("重庆", "北京", "", "", "");
  speaking->startSynthetizer(text);
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_THAT(before, ::testing::Not(::testing::Contains("重庆")));
  EXPECT_THAT(speaking.host.words(text), ::testing::Contains("重庆"));
}

TEST(Languages, JapaneseWordsAreNamedAsTheyAreWritten) {
  const std::string text = "私は 東京へ行く。本を、\\mrk=1\\読みます";
  FreshEngine speaking({test::builtPackage("japanese")});
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("私は", "東京へ", "行く", "本を", "読みます"));
}

TEST(Words, ThatTheSynthesiserJoinsAreNamed) {
  const std::string text = "In the end, it is to be on the table. \\mrk=1\\ Of the two";
  FreshEngine speaking({test::englishPackage()});
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("In", "the", "end", "it", "is", "to", "be",
                                                     "on", "the", "table", "Of", "the", "two"));
}

TEST(Words, OfAWholeTextInTagsHaveNoFullStop) {
  const std::string text = "\\Vol=50\\ It ends here.";
  FreshEngine speaking({test::englishPackage()});
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("It", "ends", "here"));
}

TEST(Words, ThatNoVoiceReadsAreNotNamed) {
  const std::string text = "one ༀཀ two";
  FreshEngine speaking({test::englishPackage()});
  speaking->startSynthetizer(text);
  EXPECT_THAT(speaking.host.words(text), ElementsAre("one", "two"));
}

TEST(Languages, ChoosingOneChoosesItsDefaultVoice) {
  FreshEngine speaking;
  speaking->setCurrentLanguage("French");
  EXPECT_EQ(speaking->getCurrentLanguage(), "French");
  EXPECT_EQ(speaking->getCurrentVoice(), "french-male");
}

TEST(Languages, ChoosingTheCurrentOneKeepsTheVoice) {
  FreshEngine speaking;
  speaking->setCurrentVoice("english-female");
  speaking->setCurrentLanguage("English");
  EXPECT_EQ(speaking->getCurrentVoice(), "english-female");
}

TEST(Languages, OneWithoutPackageIsRefusedUnderTheEnginesName) {
  FreshEngine speaking;
  EXPECT_THAT([&] { speaking->setCurrentLanguage("German"); },
              test::throwsKQError("eSpeak NG", "setCurrentLanguage",
                                  "This engine does not support the following language: German"));
}

TEST(Voices, ChoosingOneOfAnotherLanguageChoosesTheLanguage) {
  FreshEngine speaking;
  speaking->setCurrentVoice("french-female");
  EXPECT_EQ(speaking->getCurrentLanguage(), "French");
  EXPECT_EQ(speaking->getCurrentVoice(), "french-female");
}

TEST(Voices, ThoseOfTheCurrentLanguageAreAvailable) {
  FreshEngine speaking;
  speaking->setCurrentLanguage("French");
  EXPECT_THAT(speaking->getAvailableVoices(),
              ElementsAre(Pair("french-female", "French"), Pair("french-male", "French"),
                          Pair("french-robot", "French")));
}

TEST(Voices, ThoseOfAllLanguagesAreAvailableToo) {
  FreshEngine speaking;
  EXPECT_EQ(speaking->getAllAvailableVoices().size(), 5U);
  EXPECT_THAT(speaking->getAllAvailableVoices(), Contains(Pair("english-male", "English")));
  EXPECT_THAT(speaking->getAllAvailableVoices(), Contains(Pair("french-male", "French")));
}

TEST(Voices, EachLanguageHasADefaultOne) {
  FreshEngine speaking;
  EXPECT_EQ(speaking->getDefaultVoiceForLanguage("French"), "french-male");
  EXPECT_EQ(speaking->getDefaultVoiceForLanguage("German"), "");
}

TEST(Voices, TheDefaultOneCanBeReturnedTo) {
  FreshEngine speaking;
  speaking->setCurrentVoice("french-female");
  speaking->setDefaultVoice();
  EXPECT_EQ(speaking->getCurrentVoice(), "french-male");
}

TEST(Voices, TheirFolderIsInThePackage) {
  FreshEngine speaking;
  EXPECT_EQ(speaking->getVoiceInstallDir("french-female"),
            BUILT_DATA "/packages/french/voices/french-female");
  EXPECT_EQ(speaking->getVoiceInstallDir("nobody"), "");
}

TEST(Engine, IsNamedAfterTheSynthesiser) {
  EXPECT_EQ(FreshEngine()->getName(), "eSpeak NG");
}

TEST(Engine, HasTheSynthesisersSamplingRate) {
  FreshEngine speaking;
  speaking->startSynthetizer("Hello");
  EXPECT_EQ(speaking->getCurrentSamplingRate(), 22050);
  EXPECT_EQ(speaking.host.samplingRate(), 22050);
}

TEST(Engine, SpeaksThroughTheManager) {
  test::searchBuiltPlugins();
  test::SpeechRecorder host;
  KQ::TextToSpeechManager manager(&host, test::languageTable());
  ASSERT_TRUE(manager.initialize(test::espeakPackages()));
  manager.setCurrentLanguage("French");
  manager.startSynthetizer("Bonjour");
  EXPECT_GT(test::level(host.samples()), 500);
}

TEST(Engine, KeepsTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  FreshEngine speaking;
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

}  // namespace
