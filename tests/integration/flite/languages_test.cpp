#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <kqtts/texttospeech_manager.hpp>
#include <string>
#include <vector>

#include "engines/speaking_engine.hpp"
#include "support/row_name.hpp"

namespace {

using test::Samples;
using test::SpeakingEngine;
using test::SpeechEvent;
using test::spoken;
using Kind = test::SpeechEvent::Kind;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Key;

/// The real manager with real plug-ins.
class Manager : public ::testing::Test {
 protected:
  explicit Manager() { test::searchBuiltPlugins(); }

  std::string engineOf(const std::string& language) {
    manager.setCurrentLanguage(language);
    return manager.xGetEngine(language)->getName();
  }

  test::SpeechRecorder host;
  struct OpenManager : KQ::TextToSpeechManager {
    using TextToSpeechManager::TextToSpeechManager;
    using TextToSpeechManager::xGetEngine;
  } manager{&host, test::languageTable()};
};

TEST_F(Manager, GivesEnglishToFliteAndAllOtherLanguagesToEspeak) {
  ASSERT_TRUE(manager.initialize(test::builtPackages()));
  const std::vector<std::string> languages = manager.getAvailableLanguages();
  EXPECT_EQ(languages.size(), 28U);
  for (const std::string& language : languages) {
    EXPECT_EQ(engineOf(language), language == "English" ? "Flite" : "eSpeak NG") << language;
  }
}

TEST_F(Manager, GivesEnglishToEspeakWhereBothHaveAPackageOfIt) {
  std::vector<zu::PackageInfo> packages = test::builtPackages();
  packages.push_back(test::optionalPackage("espeak-ng-english"));
  ASSERT_TRUE(manager.initialize(packages));
  EXPECT_EQ(engineOf("English"), "eSpeak NG");
  EXPECT_THAT(manager.getAllAvailableVoices(), Contains(Key("english-slt")));
}

TEST_F(Manager, BeginsWithAFormOfEnglish) {
  ASSERT_TRUE(manager.initialize(test::builtPackages()));
  EXPECT_EQ(manager.getCurrentLanguage(), "EnglishGB");
}

TEST_F(Manager, SpeaksEnglishWithTheDefaultVoice) {
  ASSERT_TRUE(manager.initialize(test::builtPackages()));
  manager.setCurrentLanguage("English");
  manager.startSynthetizer("Hello");
  EXPECT_EQ(manager.getCurrentVoice(), "english-slt");
  EXPECT_EQ(host.samplingRate(), 16000);
  EXPECT_EQ(manager.getCurrentSamplingRate(), 16000);
  EXPECT_GT(test::level(host.samples()), 500);
}

struct VoiceRow {
  const char* name;
  int samplingRate;
  double pitch;
};

class EveryVoice : public ::testing::TestWithParam<VoiceRow> {};

TEST_P(EveryVoice, SpeaksAtItsRateAndPitch) {
  SpeakingEngine speaking;
  speaking->setCurrentVoice(std::string("english-") + GetParam().name);
  EXPECT_EQ(speaking->getCurrentSamplingRate(), GetParam().samplingRate);
  speaking->startSynthetizer("Good morning, how are you today?");
  const Samples samples = speaking.host.samples();
  EXPECT_EQ(speaking.host.samplingRate(), GetParam().samplingRate);
  EXPECT_NEAR(test::length(samples) / GetParam().samplingRate, 2.2, 0.6);
  EXPECT_GT(test::level(samples), 500);
  EXPECT_NEAR(test::pitch(samples, GetParam().samplingRate), GetParam().pitch, 12);
}

TEST_P(EveryVoice, ChangesItsPitchAndSpeed) {
  const auto say = [](const char* parameter, float value) {
    SpeakingEngine speaking;
    speaking->setCurrentVoice(std::string("english-") + GetParam().name);
    speaking->setParameter(parameter, value);
    speaking->startSynthetizer("Good morning, how are you today? We all know more now.");
    return speaking.host.samples();
  };
  const Samples normal = say("speed", 100);
  EXPECT_NEAR(test::length(say("speed", 200)) / test::length(normal), 0.5, 0.06);
  const auto pitch = [](const Samples& samples) {
    return test::pitch(samples, GetParam().samplingRate);
  };
  EXPECT_NEAR(pitch(say("pitchShift", 1.5F)) / pitch(normal), 1.5, 0.15);
}

INSTANTIATE_TEST_SUITE_P(Table, EveryVoice,
                         ::testing::Values(VoiceRow{"awb", 16000, 120}, VoiceRow{"kal", 8000, 100},
                                           VoiceRow{"kal16", 16000, 100},
                                           VoiceRow{"rms", 16000, 100},
                                           VoiceRow{"slt", 16000, 170}),
                         test::RowName());

TEST(Voices, AreThoseForAnyText) {
  SpeakingEngine speaking;
  EXPECT_THAT(speaking->getAvailableVoices(),
              ElementsAre(Key("english-awb"), Key("english-kal"), Key("english-kal16"),
                          Key("english-rms"), Key("english-slt")));
}

TEST(Prosody, ChangesWithinASentenceWithoutASilence) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("One two \\VCT=150\\ three four");
  const std::vector<SpeechEvent> words = speaking.host.events(Kind::word);
  const Samples samples = speaking.host.samples();
  const auto place = [&](std::size_t word) {
    return samples.begin() + static_cast<std::ptrdiff_t>(words.at(word).word.samplePosition);
  };
  EXPECT_LT(test::longestSilence({place(0), place(3)}).length, 8000U / 10);
}

TEST(Prosody, SpeedOfOneWordIsItsOwn) {
  const double plain = test::length(spoken("One wonderful thing"));
  const double slow = test::length(spoken("One \\RSPD=50\\ wonderful \\RST\\ thing"));
  EXPECT_GT(slow / plain, 1.15);
  EXPECT_LT(slow / plain, 1.6);
}

TEST(Prosody, LevelOfOneWordIsItsOwn) {
  SpeakingEngine speaking;
  speaking->startSynthetizer("Loud \\Vol=0\\ silent");
  const auto silent = speaking.host.events(Kind::word).at(1).word.samplePosition;
  const Samples samples = speaking.host.samples();
  const auto border = samples.begin() + static_cast<std::ptrdiff_t>(silent);
  EXPECT_GT(test::level({samples.begin(), border}), 500);
  EXPECT_EQ(test::level({border, samples.end()}), 0);
}

struct ReadingRow {
  const char* name;
  const char* text;
  const char* sounds;  ///< a text that sounds the same
};

const ReadingRow readings[] = {
    {"Accents", "élan naïve cafe\xCC\x81", "elan naive cafe"},
    {"Ligatures", "ﬁne œuvre", "fine oeuvre"},
    {"Quotes", "“It’s fine”", "\"It's fine\""},
    {"FullWidthDigits", "１２ cats", "12 cats"},
    {"InvisibleSigns",
     "won\xC2\xAD"
     "derful",
     "wonderful"},
    {"MoneyWithItsWord", "5€", "5 euros"},
};

class Reading : public ::testing::TestWithParam<ReadingRow> {};

TEST_P(Reading, SoundsLikePlainEnglish) {
  EXPECT_EQ(spoken(GetParam().text), spoken(GetParam().sounds));
}

INSTANTIATE_TEST_SUITE_P(Table, Reading, ::testing::ValuesIn(readings), test::RowName());

TEST(LongSentences, AreSpokenInParts) {
  std::string sentence;
  for (int i = 0; i < 300; ++i) {
    sentence += "so ";
  }
  SpeakingEngine speaking;
  int buffers = 0;
  speaking.host.atAudio = [&] { return ++buffers < 5; };
  speaking->startSynthetizer(sentence + "end");
  EXPECT_EQ(buffers, 5);
  speaking.host.atAudio = nullptr;
  speaking->startSynthetizer(sentence + "end");
  EXPECT_EQ(speaking.host.words(sentence + "end").back(), "end");
}

}  // namespace
