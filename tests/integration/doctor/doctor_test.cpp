#include <gmock/gmock.h>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <functional>
#include <ostream>

#include "patient.hpp"
#include "support/row_name.hpp"

namespace doctor_test {

namespace {

namespace fs = boost::filesystem;

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::string readFile(const fs::path& file) {
  fs::ifstream input(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

/// Overwrites one byte of the header of the plug-in.
void patchPlugin(Patient& patient, std::size_t offset, char byte) {
  std::string content = readFile(patient.plugin("nuance"));
  content[offset] = byte;
  patient.write(patient.plugin("nuance"), content);
}

constexpr std::size_t machineOffset = 18;
constexpr std::size_t typeOffset = 16;

using Infection = std::function<void(Patient&)>;

/// A way to break an installation.
struct Illness {
  const char* name;
  Infection infect;
  const char* cause;     ///< the cause that doctor reports
  const char* evidence;  ///< a part of the finding
};

std::ostream& operator<<(std::ostream& output, const Illness& illness) {
  return output << illness.name;
}

/// Makes the plug-in misbehave; patient_plugin.cpp has the names.
Infection fault(const std::string& name) {
  return [name](Patient& patient) { patient.environment["TEST_FAULT"] = name; };
}

/// Returns what doctor reports about a patient. The timeout for plug-ins that hang is short.
Answer examine(const Illness& illness) {
  Patient patient;
  illness.infect(patient);
  const bool hangs = patient.environment["TEST_FAULT"].find("hang") == 0;
  return patient.ask({"doctor", "--timeout", hangs ? "1" : "30"});
}

void expectNamed(const Answer& answer, const Illness& illness) {
  std::vector<std::string> texts;
  for (const nlohmann::json& finding : answer.findings(illness.cause)) {
    texts.push_back(finding.dump());
    EXPECT_THAT(finding.at("whatToDo"), Not(IsEmpty()));
  }
  EXPECT_THAT(texts, Contains(HasSubstr(illness.evidence))) << answer.report.at("findings").dump(1);
}

// Installations without speech --------------------------------------------------------------------

class SilentTest : public testing::TestWithParam<Illness> {};

TEST_P(SilentTest, CauseIsNamedAsAProblem) {
  const Answer answer = examine(GetParam());

  EXPECT_EQ(answer.status, 1);
  EXPECT_FALSE(answer.speech());
  EXPECT_THAT(answer.causes("problem"), Contains(GetParam().cause));
  expectNamed(answer, GetParam());
}

const Illness silentOnes[] = {
    {"NoPluginAtAll", [](Patient& patient) { patient.removePlugin("nuance"); }, "plugin-absent",
     "nuance is not installed"},
    {"PluginIsAFolder",
     [](Patient& patient) {
       patient.removePlugin("nuance");
       fs::create_directories(patient.plugin("nuance"));
     },
     "plugin-not-a-file", "libkqtts-nuance.so is a folder"},
    {"PluginIsALinkThatLeadsNowhere",
     [](Patient& patient) {
       patient.removePlugin("nuance");
       fs::create_symlink("/nowhere/plugin.so", patient.plugin("nuance"));
     },
     "plugin-not-a-file", "leads to no file"},
    {"PluginIsAText",
     [](Patient& patient) { patient.write(patient.plugin("nuance"), "This is a text.\n"); },
     "plugin-not-a-library", "is no shared library"},
    {"PluginIsEmpty", [](Patient& patient) { patient.write(patient.plugin("nuance"), ""); },
     "plugin-not-a-library", "is no shared library"},
    {"PluginIsAProgram", [](Patient& patient) { patchPlugin(patient, typeOffset, 2); },
     "plugin-not-a-library", "is a program"},
    {"PluginIsCutOff", [](Patient& patient) { fs::resize_file(patient.plugin("nuance"), 4096); },
     "plugin-truncated", "is cut off"},
    {"PluginIsCutOffInItsHeader",
     [](Patient& patient) { fs::resize_file(patient.plugin("nuance"), 20); }, "plugin-truncated",
     "is cut off"},
    {"PluginIsForAnotherMachine", [](Patient& patient) { patchPlugin(patient, machineOffset, 8); },
     "plugin-wrong-architecture", "is made for MIPS"},
    {"DependencyIsMissing",
     [](Patient& patient) {
       patient.installPlugin("nuance", TEST_LIBRARIES "/dependent_plugin.so");
     },
     "plugin-dependency-missing", "libdoctor-test-gone.so"},
    {"SymbolIsMissing",
     [](Patient& patient) {
       patient.installPlugin("nuance", TEST_LIBRARIES "/unresolved_plugin.so");
     },
     "plugin-symbol-missing", "functionThatNobodyHas"},
    {"NoEntryPoint",
     [](Patient& patient) { patient.installPlugin("nuance", TEST_LIBRARIES "/other_library.so"); },
     "plugin-no-entry-point", "does not export load_plugin"},
    {"NoEngine", fault("no engine"), "plugin-no-engine", "nuance gave no engine"},
    {"EngineRefuses", fault("refusal"), "engine-refused", "The licence has expired."},
    {"CrashWhenOpened", fault("crash in opening"), "plugin-crashed",
     "while its library was opened"},
    {"HangWhenOpened", fault("hang in opening"), "plugin-hung", "while its library was opened"},
    {"CrashWhenLoaded", fault("crash in loading"), "plugin-crashed", "while it created its engine"},
    {"ThrowWhenLoaded", fault("throw in loading"), "plugin-threw", "the fork is bent"},
    {"ForeignThrowWhenLoaded", fault("foreign throw in loading"), "plugin-threw",
     "of a foreign type (int)"},
    {"CrashWhenInitialised", fault("crash in initialising"), "plugin-crashed",
     "while its engine was initialised"},
    {"HangWhenInitialised", fault("hang in initialising"), "plugin-hung",
     "did not come back in time while its engine was initialised"},
    {"ExitWhenInitialised", fault("exit in initialising"), "plugin-exited",
     "ended its process with status 0"},
    {"ThrowWhenInitialised", fault("throw in initialising"), "plugin-threw", "the fork is bent"},
    {"CrashWhenAsked", fault("crash in asking"), "plugin-crashed", "asked what it offers"},
    {"NoSound", fault("silence"), "language-silent", "nuance accepts English, but gives no sound"},
    {"CannotSpeak", fault("throw in speaking"), "language-refused", "the fork is bent"},
    {"CrashWhenSpeaking", fault("crash in speaking"), "session-crashed", "while English was tried"},
    {"HangWhenSpeaking", fault("hang in speaking"), "session-hung", "while English was tried"},
    {"NoPackageAtAll", [](Patient& patient) { patient.removePackage("bob"); }, "packages-none",
     "no package is installed"},
    {"PackageFolderMissing",
     [](Patient& patient) {
       patient.namesPackages = false;
       patient.environment["KQTTS_PACKAGE_PATH"] = "/nowhere/packages";
     },
     "package-path-missing", "KQTTS_PACKAGE_PATH names /nowhere/packages"},
    {"LibraryPathLeadsNowhere",
     [](Patient& patient) {
       patient.removePlugin("nuance");
       patient.environment["ZU_LIBRARY_PATH"] = "/nowhere/lib";
     },
     "library-path-missing", "ZU_LIBRARY_PATH names /nowhere/lib"},
    {"ManifestMissing",
     [](Patient& patient) { fs::remove(patient.package("bob") / "manifest.xml"); },
     "manifest-missing", "packages/bob"},
    {"ManifestIsAFolder",
     [](Patient& patient) {
       fs::remove(patient.package("bob") / "manifest.xml");
       fs::create_directories(patient.package("bob") / "manifest.xml");
     },
     "manifest-unreadable", "is no regular file"},
    {"ManifestIsALinkThatLeadsNowhere",
     [](Patient& patient) {
       fs::remove(patient.package("bob") / "manifest.xml");
       fs::create_symlink("nowhere", patient.package("bob") / "manifest.xml");
     },
     "manifest-unreadable", "is no regular file"},
    {"ManifestIsMalformed",
     [](Patient& patient) { patient.write(patient.package("bob") / "manifest.xml", "<settings"); },
     "manifest-malformed", "is malformed"},
    {"ManifestIsEmpty",
     [](Patient& patient) { patient.write(patient.package("bob") / "manifest.xml", ""); },
     "manifest-malformed", "is empty"},
    {"ManifestWithoutUuid",
     [](Patient& patient) {
       patient.writeSettings(patient.package("bob") / "manifest.xml",
                             {{"version", "1.0"}, {"engine", "tone"}, {"language", "English"}});
     },
     "manifest-no-uuid", "has no setting"},
    {"ManifestWithoutVersion",
     [](Patient& patient) { patient.installPackage("bob", "English", ""); }, "manifest-no-version",
     "has no setting"},
    {"ManifestWithoutEngine",
     [](Patient& patient) { patient.installPackage("bob", "English", "1.0", ""); },
     "manifest-no-engine", "has no setting"},
    {"ManifestWithoutLanguage", [](Patient& patient) { patient.installPackage("bob", ""); },
     "manifest-no-language", "has no setting"},
    {"PackageOutdated", [](Patient& patient) { patient.installPackage("bob", "English", "0.9"); },
     "package-outdated", "its version is 0.9"},
    {"LanguageOutdated", [](Patient& patient) { patient.installPackage("bob", "English", "0.9"); },
     "language-outdated", "English is refused"},
    {"PackageWithoutVoices",
     [](Patient& patient) { fs::remove_all(patient.package("bob") / "voices"); },
     "package-without-voices", "packages/bob has no voices"},
    {"VoiceFileMissing",
     [](Patient& patient) { fs::remove(patient.package("bob") / "voices/bob/voice.xml"); },
     "voice-broken", "voice.xml is missing"},
    {"VoiceFileMalformed",
     [](Patient& patient) {
       patient.write(patient.package("bob") / "voices/bob/voice.xml", "<settings");
     },
     "voice-broken", "is malformed"},
    {"VoiceThatTheSynthesiserLacks",
     [](Patient& patient) {
       patient.writeSettings(patient.package("bob") / "voices/bob/voice.xml",
                             {{"sourceVoice", "violin"}});
     },
     "package-refused", "violin"},
    {"SynthesiserDataAbsent",
     [](Patient& patient) {
       patient.installPlugin("nuance", ESPEAK_PLUGIN);
       patient.installPackage("bob", "English", "1.0", "espeak-ng");
       patient.environment["ESPEAK_DATA_PATH"] = patient.folder.path().string();
     },
     "engine-refused", "Cannot load the data of eSpeak NG"},
};

INSTANTIATE_TEST_SUITE_P(Doctor, SilentTest, testing::ValuesIn(silentOnes), test::RowName());

// Installations with speech -----------------------------------------------------------------------

class ImpairedTest : public testing::TestWithParam<Illness> {};

TEST_P(ImpairedTest, FindingIsToldAndSpeechIsPossible) {
  const Answer answer = examine(GetParam());

  EXPECT_EQ(answer.status, 0);
  EXPECT_TRUE(answer.speech());
  EXPECT_THAT(answer.causes("problem"), IsEmpty());
  expectNamed(answer, GetParam());
}

const Illness impairedOnes[] = {
    {"NoAudioDevice", [](Patient&) {}, "audio-device-missing", "there is no audio device"},
    {"OtherPluginAbsent", [](Patient&) {}, "plugin-absent", "aitalk is not installed"},
    {"OtherPluginIsAText",
     [](Patient& patient) { patient.write(patient.plugin("aitalk"), "This is a text.\n"); },
     "plugin-not-a-library", "libkqtts-aitalk.so is no shared library"},
    {"SecondLibraryOfThePlugin",
     [](Patient& patient) {
       fs::copy_file(patient.plugin("nuance"),
                     patient.folder.path() / "engines/kqtts/kqtts-nuance.so");
     },
     "plugin-hidden", "kqtts-nuance.so is not used"},
    {"PluginWithANameOfItsOwn",
     [](Patient& patient) { fs::copy_file(patient.plugin("nuance"), patient.plugin("mine")); },
     "plugin-not-loaded", "libkqtts-mine.so is loaded by no host"},
    {"CrashWhenShutDown", fault("crash in terminating"), "plugin-crashed", "when it was shut down"},
    {"HangWhenShutDown", fault("hang in terminating"), "plugin-hung", "when it was shut down"},
    {"PackageForAnotherEngine",
     [](Patient& patient) { patient.installPackage("anne", "French", "1.0", "organ"); },
     "package-unclaimed", "the packages in use are for \\\"tone\\\""},
    {"OutdatedPackageBesideACurrentOne",
     [](Patient& patient) { patient.installPackage("old", "English", "0.9"); }, "package-outdated",
     "packages/old is outdated"},
    {"OutdatedLanguageBesideACurrentOne",
     [](Patient& patient) { patient.installPackage("anne", "French", "0.9"); }, "language-outdated",
     "French is refused"},
    {"TwoPackagesForALanguage", [](Patient& patient) { patient.installPackage("bill", "English"); },
     "language-twice", "more than one package for English"},
    {"TwoPackagesWithOneUuid",
     [](Patient& patient) {
       patient.installPackage("copy", "English");
       patient.writeSettings(
           patient.package("copy") / "manifest.xml",
           {{"uuid", "uuid-bob"}, {"version", "1.0"}, {"engine", "tone"}, {"language", "English"}});
     },
     "package-duplicate", "packages/copy is left out"},
    {"TwoEnginesForALanguage",
     [](Patient& patient) { patient.installPlugin("aitalk", TEST_LIBRARIES "/patient_plugin.so"); },
     "language-tied", "aitalk offers English too, but nuance has it"},
    {"OneBrokenVoiceOfTwo",
     [](Patient& patient) {
       patient.write(patient.package("bob") / "voices/bill/voice.xml", "no settings");
     },
     "voice-broken", "voices/bill/voice.xml is malformed"},
    {"UnknownSetting",
     [](Patient& patient) {
       patient.writeSettings(patient.package("bob") / "manifest.xml", {{"uuid", "uuid-bob"},
                                                                       {"version", "1.0"},
                                                                       {"engine", "tone"},
                                                                       {"language", "English"},
                                                                       {"defaultVioce", "bob"}});
     },
     "manifest-unknown-setting", "is \\\"defaultVoice\\\" meant?"},
    {"LogLevelThatHides", [](Patient& patient) { patient.environment["ZU_LOG_LEVEL"] = "silent"; },
     "log-level-hides", "silent"},
    {"LogLevelThatIsNone", [](Patient& patient) { patient.environment["ZU_LOG_LEVEL"] = "loud"; },
     "log-level-unknown", "loud"},
};

INSTANTIATE_TEST_SUITE_P(Doctor, ImpairedTest, testing::ValuesIn(impairedOnes), test::RowName());

// Reports -----------------------------------------------------------------------------------------

TEST(DoctorTest, ASoundInstallationHasNeitherProblemsNorPluginWarnings) {
  const Patient patient;

  const Answer answer = patient.ask({"doctor"});

  EXPECT_EQ(answer.status, 0);
  EXPECT_THAT(answer.causes("problem"), IsEmpty());
  EXPECT_THAT(answer.causes("warning"), testing::ElementsAre("audio-device-missing"));
  EXPECT_THAT(answer.causes("ok"), testing::ElementsAre("plugin-works", "packages-claimed",
                                                        "languages-spoken", "language-chosen"));
}

TEST(DoctorTest, AnEngineThatRefusesWithoutComplaintIsANoteWhereAnotherOneSpeaks) {
  Patient patient;
  patient.installPlugin("log", LOG_PLUGIN);

  const Answer answer = patient.ask({"doctor"});

  EXPECT_THAT(answer.causes("note"), Contains("engine-refused"));
  EXPECT_THAT(answer.causes("warning"), testing::ElementsAre("audio-device-missing"));
}

TEST(DoctorTest, JsonTellsWhatWasLookedForAndWhere) {
  const Patient patient;

  const nlohmann::json report = patient.ask({"doctor"}).report;

  EXPECT_THAT(report.at("libraryNames"), Contains("kqtts/libkqtts-aitalk.so"));
  EXPECT_THAT(report.at("libraryNames"), Contains("kqtts/kqtts-log.so"));
  EXPECT_EQ(report.at("libraryFolders").at(0).at("folder"),
            (patient.folder.path() / "engines").string());
  EXPECT_EQ(report.at("packageFolders").at(0).at("exists"), true);
}

TEST(DoctorTest, JsonTellsPluginsPackagesAndLanguages) {
  const Patient patient;

  const nlohmann::json report = patient.ask({"doctor"}).report;

  ASSERT_THAT(report.at("plugins"), SizeIs(3));
  EXPECT_EQ(report.at("plugins").at(2).at("engine"), "Tone");
  EXPECT_EQ(report.at("packages").at(0).at("takenBy"), nlohmann::json({"nuance"}));
  EXPECT_EQ(report.at("languages").at(0).at("plugin"), "nuance");
  EXPECT_EQ(report.at("languages").at(0).at("sound"), true);
}

TEST(DoctorTest, PageTellsFindingAndWhatToDo) {
  Patient patient;
  fault("refusal")(patient);

  const tool_test::Outcome outcome = patient.run({"doctor"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, testing::StartsWith("No speech is possible."));
  EXPECT_THAT(outcome.output, HasSubstr("  problem  nuance refused to start"));
  EXPECT_THAT(outcome.output, HasSubstr("said: engine.tone: The licence has expired."));
  EXPECT_THAT(outcome.output, HasSubstr("-> mend what it complains of"));
  EXPECT_EQ(outcome.errors, "");
}

TEST(DoctorTest, PageOfASoundInstallationSaysSo) {
  const tool_test::Outcome outcome = Patient().run({"doctor"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, testing::StartsWith("Speech is possible, in 1 language.\n"));
  EXPECT_THAT(outcome.output, HasSubstr("nuance speaks English"));
}

TEST(DoctorTest, WhatAPluginPrintsStaysOutOfTheReport) {
  Patient patient;
  fault("noise")(patient);

  const tool_test::Outcome outcome = patient.run({"doctor"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output + outcome.errors, Not(HasSubstr("printed by the plug-in")));
}

TEST(DoctorTest, UnknownOptionIsWrongUsage) {
  EXPECT_EQ(Patient().run({"doctor", "--cure"}).status, 2);
}

TEST(DoctorTest, ALibraryWithSeveralPathsIsNoSecondLibrary) {
  Patient patient;
  fs::create_directory_symlink(patient.folder.path() / "engines", patient.folder.path() / "link");
  fs::create_symlink(patient.plugin("nuance"),
                     patient.folder.path() / "engines/kqtts/kqtts-nuance.so");
  patient.environment["ZU_LIBRARY_PATH"] = (patient.folder.path() / "link").string();

  const Answer answer = patient.ask({"doctor"});

  EXPECT_THAT(answer.findings("plugin-hidden"), IsEmpty());
  EXPECT_THAT(answer.findings("plugin-works"), SizeIs(1));
}

TEST(DoctorTest, APackageWithSeveralPathsIsNoDuplicate) {
  Patient patient;
  fs::create_directory_symlink(patient.folder.path() / "packages", patient.folder.path() / "link");
  patient.namesPackages = false;
  patient.environment["KQTTS_PACKAGE_PATH"] = (patient.folder.path() / "packages").string() + ":" +
                                              (patient.folder.path() / "link").string();

  const Answer answer = patient.ask({"doctor"});

  EXPECT_THAT(answer.findings("package-duplicate"), IsEmpty());
  EXPECT_THAT(answer.report.at("packages"), SizeIs(1));
}

TEST(DoctorTest, PackageThatBringsTheLanguageOfTheLocaleIsNamed) {
  Patient patient;
  patient.environment["LC_ALL"] = "de_DE.UTF-8";

  const Answer answer = patient.ask({"doctor"});

  ASSERT_THAT(answer.findings("language-chosen"), SizeIs(1));
  EXPECT_THAT(answer.findings("language-chosen").front().at("text"),
              HasSubstr("German is not installed: the package kqtts-engine-nuance brings it"));
}

TEST(DoctorTest, AFolderOfOtherThingsIsToldInOneFinding) {
  Patient patient;
  for (const char* name : {"a", "b", "c", "d", "e"}) {
    fs::create_directories(patient.package(name));
  }

  const Answer answer = patient.ask({"doctor"});

  ASSERT_THAT(answer.findings("manifest-missing"), SizeIs(1));
  EXPECT_THAT(answer.findings("manifest-missing").front().at("text"), HasSubstr("5 folders"));
}

}  // namespace

}  // namespace doctor_test
