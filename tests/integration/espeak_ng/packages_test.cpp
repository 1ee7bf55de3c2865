#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "espeak_engine.hpp"
#include "support/environment.hpp"
#include "support/log_recorder.hpp"
#include "support/settings_file.hpp"
#include "support/temp_folder.hpp"

namespace {

using test::LoadedEngine;
using test::setting;
using test::settingsFile;
using test::SpeakingEngine;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::Key;

namespace fs = boost::filesystem;

/// Writes packages for a test.
class Packages : public ::testing::Test {
 protected:
  struct Manifest {
    std::string language = "English";
    std::string version = "1.0";
    std::string uuid;
    std::string engine = "espeak-ng";
    std::string more;
  };

  zu::PackageInfo package(const std::string& name, const Manifest& manifest) {
    fs::create_directories(folder.path() / name / "voices");
    write(name + "/manifest.xml",
          settingsFile(setting("uuid", manifest.uuid) + setting("version", manifest.version) +
                       setting("engine", manifest.engine) + setting("language", manifest.language) +
                       manifest.more));
    return {manifest.uuid, "", (folder.path() / name).string()};
  }

  /// A package with one voice, which has the package's name.
  zu::PackageInfo voicedPackage(const std::string& name, const Manifest& manifest) {
    zu::PackageInfo info = package(name, manifest);
    voice(name, name, "en-us");
    return info;
  }

  void voice(const std::string& packageName, const std::string& name, const std::string& source) {
    const std::string voiceFolder = packageName + "/voices/" + name;
    fs::create_directories(folder.path() / voiceFolder);
    write(voiceFolder + "/voice.xml", settingsFile(setting("sourceVoice", source)));
  }

  void write(const std::string& file, const std::string& content) { folder.write(file, content); }

  /// The samples of a sentence, spoken with the preferences of a voice.
  test::Samples spokenWith(const std::string& preferences) {
    const zu::PackageInfo info = voicedPackage("tuned", {});
    write("tuned/voices/tuned/voiceSettings.xml", settingsFile(preferences));
    SpeakingEngine speaking({info});
    speaking->startSynthetizer("The quick brown fox jumps over the lazy dog");
    return speaking.host.samples();
  }

  bool initializes(const std::vector<zu::PackageInfo>& packages) {
    return LoadedEngine(nullptr)->initialize(packages);
  }

  auto warned(const std::string& part) const {
    return Contains(AllOf(Field(&test::LogLine::level, zu::log::Level::warning),
                          Field(&test::LogLine::category, "engine.espeak-ng"),
                          Field(&test::LogLine::message, HasSubstr(part))));
  }

  test::TempFolder folder;
  test::LogRecorder log;
};

TEST_F(Packages, WithoutAnyTheEngineIsNotUsable) {
  EXPECT_FALSE(initializes({}));
  EXPECT_THAT(log.lines(), warned("None of the 0 installed packages"));
}

TEST_F(Packages, OfAnotherEngineAreIgnored) {
  Manifest manifest;
  manifest.engine = "flite";
  EXPECT_FALSE(initializes({voicedPackage("other", manifest)}));
}

TEST_F(Packages, OfAnotherEngineCauseNoWarning) {
  Manifest manifest;
  manifest.engine = "flite";
  const SpeakingEngine speaking({voicedPackage("other", manifest), test::builtPackage("french")});
  EXPECT_THAT(log.lines(), ::testing::Not(warned("other")));
}

TEST_F(Packages, WithoutFolderAreIgnored) {
  SpeakingEngine speaking({{"a", "1", ""}, {"b", "1", "/nowhere"}, test::builtPackage("french")});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("French"));
}

TEST_F(Packages, WithoutLanguageAreIgnoredWithAWarning) {
  Manifest manifest;
  manifest.language = "";
  SpeakingEngine speaking({voicedPackage("nameless", manifest), test::builtPackage("french")});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("French"));
  EXPECT_THAT(log.lines(), warned("nameless/manifest.xml: no language or no version"));
}

TEST_F(Packages, WithoutVersionAreIgnoredWithAWarning) {
  Manifest manifest;
  manifest.version = "";
  SpeakingEngine speaking({voicedPackage("versionless", manifest), test::builtPackage("french")});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("French"));
  EXPECT_THAT(log.lines(), warned("versionless/manifest.xml: no language or no version"));
}

TEST_F(Packages, WithoutVoiceAreIgnoredWithAWarning) {
  SpeakingEngine speaking({package("silent", {}), test::builtPackage("french")});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("French"));
  EXPECT_THAT(log.lines(), warned("silent: no usable voice"));
}

TEST_F(Packages, VoiceWithoutDescriptionIsIgnored) {
  const zu::PackageInfo info = voicedPackage("some", {});
  fs::create_directories(folder.path() / "some/voices/empty");
  SpeakingEngine speaking({info});
  EXPECT_THAT(speaking->getAvailableVoices(), ElementsAre(Key("some")));
  EXPECT_THAT(log.lines(), warned("the synthesiser has no voice \"\""));
}

TEST_F(Packages, FileBesideTheVoicesIsIgnored) {
  const zu::PackageInfo info = voicedPackage("some", {});
  write("some/voices/README", "text");
  SpeakingEngine speaking({info});
  EXPECT_THAT(speaking->getAvailableVoices(), ElementsAre(Key("some")));
}

class UnknownVoice : public Packages, public ::testing::WithParamInterface<std::string> {};

TEST_P(UnknownVoice, OfTheSynthesiserIsIgnoredWithAWarning) {
  const zu::PackageInfo info = voicedPackage("some", {});
  voice("some", "strange", GetParam());
  SpeakingEngine speaking({info});
  EXPECT_THAT(speaking->getAvailableVoices(), ElementsAre(Key("some")));
  EXPECT_THAT(log.lines(), warned("the synthesiser has no voice"));
}

INSTANTIATE_TEST_SUITE_P(Table, UnknownVoice,
                         ::testing::Values("klingonese", "en-us+nobody", "en-us+", "+f2",
                                           "../../../../etc/passwd", "en-us+../../intonations",
                                           "/etc/passwd", std::string(100000, 'x')));

class KnownVoice : public Packages, public ::testing::WithParamInterface<std::string> {};

TEST_P(KnownVoice, OfTheSynthesiserSpeaks) {
  const zu::PackageInfo info = package("some", {});
  voice("some", "known", GetParam());
  SpeakingEngine speaking({info});
  speaking->startSynthetizer("Hello");
  EXPECT_GT(test::level(speaking.host.samples()), 500);
}

INSTANTIATE_TEST_SUITE_P(Table, KnownVoice,
                         ::testing::Values("en-us", "gmw/en-US", "English (America)", "en-gb-x-rp",
                                           "roa/fr+f2", "ko+whisper"));

TEST_F(Packages, LanguageOfTheSynthesiserMeansItsBestVoice) {
  const zu::PackageInfo info = package("some", {});
  voice("some", "language", "en");
  voice("some", "file", "gmw/en");
  SpeakingEngine byLanguage({info});
  byLanguage->setCurrentVoice("language");
  byLanguage->startSynthetizer("Rather hot this morning, are we not?");
  SpeakingEngine byFile({info});
  byFile->setCurrentVoice("file");
  byFile->startSynthetizer("Rather hot this morning, are we not?");
  const double length = test::length(byFile.host.samples());
  EXPECT_NEAR(test::length(byLanguage.host.samples()), length, length * 0.01);
}

TEST_F(Packages, DefaultVoiceIsTheOneThatTheManifestNames) {
  Manifest manifest;
  manifest.more = setting("defaultVoice", "second");
  const zu::PackageInfo info = package("some", manifest);
  voice("some", "first", "en-us");
  voice("some", "second", "en-gb");
  EXPECT_EQ(SpeakingEngine({info})->getCurrentVoice(), "second");
}

TEST_F(Packages, DefaultVoiceIsOtherwiseTheFirstOne) {
  Manifest manifest;
  manifest.more = setting("defaultVoice", "third");
  const zu::PackageInfo info = package("some", manifest);
  voice("some", "second", "en-gb");
  voice("some", "first", "en-us");
  EXPECT_EQ(SpeakingEngine({info})->getCurrentVoice(), "first");
}

TEST_F(Packages, OldOneMakesItsLanguageOutdatedButOffered) {
  Manifest manifest;
  manifest.version = "0.9.9";
  SpeakingEngine speaking({voicedPackage("old", manifest), test::builtPackage("french")});
  EXPECT_THAT(speaking->getOldLanguagesDetected(), ElementsAre("English"));
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("English", "French"));
}

TEST_F(Packages, OldVersionFromTheHostMakesTheLanguageOutdatedToo) {
  zu::PackageInfo info = voicedPackage("old", {});
  info.version = "0.9";
  EXPECT_THAT(SpeakingEngine({info})->getOldLanguagesDetected(), ElementsAre("English"));
}

class CurrentVersion : public Packages, public ::testing::WithParamInterface<const char*> {};

TEST_P(CurrentVersion, IsNotOutdated) {
  Manifest manifest;
  manifest.version = GetParam();
  EXPECT_TRUE(SpeakingEngine({voicedPackage("some", manifest)})->getOldLanguagesDetected().empty());
}

INSTANTIATE_TEST_SUITE_P(Table, CurrentVersion,
                         ::testing::Values("1", "1.0", "1.0.0", "1.0.1", "1.10", "2.0-beta", "10"));

class OldVersion : public Packages, public ::testing::WithParamInterface<const char*> {};

TEST_P(OldVersion, IsOutdated) {
  Manifest manifest;
  manifest.version = GetParam();
  EXPECT_THAT(SpeakingEngine({voicedPackage("some", manifest)})->getOldLanguagesDetected(),
              ElementsAre("English"));
}

INSTANTIATE_TEST_SUITE_P(Table, OldVersion,
                         ::testing::Values("0", "0.99", "0.9.9.9", "-1", "newest",
                                           "99999999999999999999"));

TEST_F(Packages, OldOneBesideACurrentOneIsIgnored) {
  Manifest old;
  old.version = "0.9";
  SpeakingEngine speaking({voicedPackage("old", old), voicedPackage("new", {})});
  EXPECT_TRUE(speaking->getOldLanguagesDetected().empty());
  EXPECT_THAT(speaking->getAvailableVoices(), ElementsAre(Key("new")));
  EXPECT_THAT(log.lines(), warned("old: outdated"));
}

TEST_F(Packages, TwoForOneLanguageAreOneLanguageWithAllVoices) {
  SpeakingEngine speaking({voicedPackage("second", {}), voicedPackage("first", {})});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("English"));
  EXPECT_THAT(speaking->getAvailableVoices(), ElementsAre(Key("first"), Key("second")));
  EXPECT_EQ(speaking->getDefaultVoiceForLanguage("English"), "second");
}

TEST_F(Packages, FirstVoiceOfANameCounts) {
  Manifest french;
  french.language = "French";
  const zu::PackageInfo first = voicedPackage("first", {});
  const zu::PackageInfo second = voicedPackage("second", french);
  voice("second", "first", "fr-fr");
  SpeakingEngine speaking({first, second});
  EXPECT_EQ(speaking->getAllAvailableVoices().at("first"), "English");
  EXPECT_THAT(log.lines(), warned("there is a voice of this name already"));
}

TEST_F(Packages, FirstOneOfAUuidCounts) {
  Manifest manifest;
  manifest.uuid = "same";
  SpeakingEngine speaking({voicedPackage("first", manifest), voicedPackage("second", manifest)});
  EXPECT_THAT(speaking->getAvailableVoices(), ElementsAre(Key("first")));
}

TEST_F(Packages, WithABrokenManifestAreIgnored) {
  const zu::PackageInfo info = voicedPackage("broken", {});
  write("broken/manifest.xml", "<Any><Setting name=\"engine\" value=\"espeak-ng\"/>");
  SpeakingEngine speaking({info, test::builtPackage("french")});
  EXPECT_THAT(speaking->getAvailableLanguages(), ElementsAre("French"));
}

TEST_F(Packages, PreferencesSetTheVoicesNormalSpeed) {
  const double normal = test::length(spokenWith(""));
  EXPECT_NEAR(test::length(spokenWith(setting("defaultVoiceSpeed", "200"))) / normal, 0.5, 0.05);
}

TEST_F(Packages, PreferencesSetTheVoicesPitch) {
  const double normal = test::pitch(spokenWith(""), 22050);
  EXPECT_NEAR(test::pitch(spokenWith(setting("pitchShift", "1.5")), 22050) / normal, 1.5, 0.1);
}

TEST_F(Packages, PreferencesSetTheVoicesLevel) {
  const double normal = test::level(spokenWith(""));
  EXPECT_NEAR(test::level(spokenWith(setting("voiceLevel", "0.5"))) / normal, 0.5, 0.02);
}

TEST_F(Packages, PreferenceOutOfRangeIsIgnoredWithAWarning) {
  const double normal = test::length(spokenWith(""));
  EXPECT_NEAR(test::length(spokenWith(setting("defaultVoiceSpeed", "1e30"))) / normal, 1, 0.01);
  EXPECT_THAT(log.lines(), warned("preference \"defaultVoiceSpeed\" is out of range"));
}

TEST_F(Packages, BrokenPreferencesAreIgnored) {
  const zu::PackageInfo info = voicedPackage("tuned", {});
  write("tuned/voices/tuned/voiceSettings.xml", "<broken");
  SpeakingEngine speaking({info});
  speaking->startSynthetizer("Hello");
  EXPECT_GT(test::level(speaking.host.samples()), 500);
}

TEST_F(Packages, WithoutTheSynthesisersDataTheEngineIsNotUsable) {
  const test::Environment empty("ESPEAK_DATA_PATH", folder.path().string());
  EXPECT_FALSE(initializes(test::espeakPackages()));
  EXPECT_THAT(log.lines(),
              warned("Cannot load the data of eSpeak NG from " + folder.path().string()));
}

TEST_F(Packages, TheEngineIsUsableOnceTheSynthesisersDataAreThere) {
  LoadedEngine engine(nullptr);
  {
    const test::Environment empty("ESPEAK_DATA_PATH", folder.path().string());
    ASSERT_FALSE(engine->initialize(test::espeakPackages()));
  }
  EXPECT_TRUE(engine->initialize(test::espeakPackages()));
}

}  // namespace
