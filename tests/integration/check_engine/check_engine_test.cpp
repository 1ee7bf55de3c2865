#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <boost/filesystem/operations.hpp>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "support/temp_folder.hpp"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

struct Outcome {
  int status;
  std::string output;
};

std::string quoted(const std::string& word) {
  return "'" + word + "'";
}

/// Runs the program with the specimen's packages.
class CheckEngineTest : public testing::Test {
 protected:
  CheckEngineTest() {
    addPackage("English", "Alice");
    addPackage("French", "Anne");
    addPackage("German", "Anton");
  }

  void addPackage(const std::string& language, const std::string& voice) const {
    boost::filesystem::create_directories(folder.path() / "packages" / language);
    folder.write("packages/" + language + "/manifest.xml",
                 "<package><p name=\"uuid\" value=\"" + language +
                     "\"/><p name=\"version\" value=\"1.0\"/><p name=\"engine\" "
                     "value=\"specimen\"/><p name=\"language\" value=\"" +
                     language + "\"/><p name=\"voice\" value=\"" + voice + "\"/></package>");
  }

  std::string path(const std::string& name) const { return (folder.path() / name).string(); }

  Outcome run(const std::vector<std::string>& arguments, const std::string& fault = "") const {
    std::string command = "SPECIMEN_FAULT=" + quoted(fault) + " " + quoted(KQTTS_PROGRAM);
    command += " check-engine";
    for (const std::string& argument : arguments) {
      command += " " + quoted(argument);
    }
    command += " 2>" + quoted(path("errors"));
    FILE* const pipe = popen(command.c_str(), "r");
    Outcome outcome{0, ""};
    std::array<char, 4096> piece{};
    while (const std::size_t count = fread(piece.data(), 1, piece.size(), pipe)) {
      outcome.output.append(piece.data(), count);
    }
    outcome.status = WEXITSTATUS(pclose(pipe));
    return outcome;
  }

  Outcome runSpecimen(std::vector<std::string> arguments, const std::string& fault = "") const {
    arguments.insert(arguments.begin(), {SPECIMEN_ENGINE, "--packages", path("packages")});
    return run(arguments, fault);
  }

  std::string read(const std::string& name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  test::TempFolder folder;
};

json checkNamed(const json& report, const std::string& name) {
  for (const json& check : report.at("checks")) {
    if (check.at("name") == name) {
      return check;
    }
  }
  return {};
}

// Engines that keep the contract ------------------------------------------------------------------

TEST_F(CheckEngineTest, AGoodEnginePassesEveryCheck) {
  const Outcome outcome = runSpecimen({});
  EXPECT_EQ(outcome.status, 0) << outcome.output << read("errors");
  EXPECT_THAT(outcome.output, HasSubstr(", 0 failed, 0 not run"));
}

// Engines that do not -----------------------------------------------------------------------------

struct Fault {
  const char* name;     ///< the specimen's name for the fault
  const char* check;    ///< the check that finds it
  const char* finding;  ///< part of the report
  const char* timeout = "30";
};

void PrintTo(const Fault& fault, std::ostream* out) {
  *out << fault.name;
}

/// "hang in start" as HangInStart.
std::string rowName(const testing::TestParamInfo<Fault>& row) {
  std::string name;
  bool wordBegins = true;
  for (const char* letter = row.param.name; *letter != '\0'; ++letter) {
    const bool isLetter = std::isalpha(static_cast<unsigned char>(*letter)) != 0;
    if (isLetter) {
      name += static_cast<char>(wordBegins ? std::toupper(*letter) : *letter);
    }
    wordBegins = *letter == ' ';
  }
  return name;
}

class BrokenEngineTest : public CheckEngineTest, public testing::WithParamInterface<Fault> {};

TEST_P(BrokenEngineTest, IsFoundOut) {
  const Fault& fault = GetParam();
  const Outcome outcome =
      runSpecimen({"--json", "--check", fault.check, "--timeout", fault.timeout}, fault.name);
  EXPECT_EQ(outcome.status, 1) << read("errors");
  const json check = checkNamed(json::parse(outcome.output), fault.check);
  EXPECT_EQ(check.at("status"), "failed") << outcome.output;
  EXPECT_THAT(check.at("findings").dump(), HasSubstr(fault.finding));
}

constexpr const char* soon = "2";  ///< for faults that only a timeout shows

const Fault faults[] = {
    {"exit in load", "entry-points", "load_plugin(): the plug-in ended its process with status 3"},
    {"null engine", "entry-points", "load_plugin() gave no engine"},
    {"no name", "entry-points", "getName() is empty"},
    {"active from the start", "before-initialize", "isInitialized() is true before initialize()"},
    {"crash in initialize", "initialize", "initialize(): the plug-in was ended by signal 6"},
    {"throws int from initialize", "initialize",
     "initialize() threw an exception of a foreign type (int)"},
    {"never terminates", "life-cycle", "terminate() returned false"},
    {"empty language", "unknown-names", "the unknown language \\\"\\\" was accepted"},
    {"wrong default voice", "languages", "which it does not speak"},
    {"current language not offered", "languages", "the current language, Latin, is not offered"},
    {"voice of an unoffered language", "voices", "not among the languages on offer"},
    {"foreign error for unknown", "unknown-names", "a foreign type (char const*)"},
    {"refuses by another type", "parameters", "std::runtime_error"},
    {"parameter not read back", "parameters", "was set to"},
    {"hang in start", "speech", "speaking: the plug-in did not come back in time", soon},
    {"throws int from start", "speech", "speaking threw an exception of a foreign type (int)"},
    {"no end event", "speech", "onEnd was called 0 times"},
    {"two end events", "speech", "onEnd was called 2 times"},
    {"word after its audio", "speech", "came after the audio that holds it"},
    {"word outside the text", "speech", "which is no place in the text"},
    {"other sampling rate", "speech", "onAudio gave audio of 8000 Hz"},
    {"events from its own thread", "speech", "from another thread"},
    {"crash at bad text", "odd-texts",
     "bytes that are not UTF-8: the plug-in was ended by signal 6"},
    {"needs a callback", "no-callback", "speaking without a callback"},
    {"ignores refused audio", "refused-audio", "audio went on"},
    {"swallows the host exception", "host-exception", "did not pass through"},
    {"hang in stop", "stop", "stopSynthetizer() while nothing is spoken: the plug-in did not",
     soon},
    {"ignores stop", "stop", "onEnd did not say \\\"stopped\\\""},
    {"ignores pause", "pause", "ended while it was paused"},
    {"resumes by itself", "pause", "went on by itself", soon},
    {"never restarts", "pause", "nothing more came of a paused utterance", soon},
    {"stop does not wake the paused", "pause", "did not return within", soon},
    {"leaks a thread", "unload", "1 more threads still run after unload_plugin()", soon},
    {"leaks a file", "unload", "a file is still open after unload_plugin(): /dev/null", soon},
    {"stays in memory", "unload", "the library is still in memory"},
    {"crash in unload", "unload", "unload_plugin(): the plug-in was ended by signal 6"},
};

INSTANTIATE_TEST_SUITE_P(Faults, BrokenEngineTest, testing::ValuesIn(faults), rowName);

TEST_F(CheckEngineTest, NoiseOnStandardOutputIsAFindingAndNotInTheReport) {
  const Outcome outcome =
      runSpecimen({"--json", "--check", "speech", "--check", "standard-output"}, "stdout noise");
  EXPECT_EQ(outcome.status, 1);
  const json check = checkNamed(json::parse(outcome.output), "standard-output");
  EXPECT_THAT(check.at("findings").dump(), HasSubstr("during speech: \\\"speaking"));
}

TEST_F(CheckEngineTest, ALibraryWithoutEntryPointIsAFinding) {
  const Outcome outcome = run({ENTRYLESS_ENGINE});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, HasSubstr("the library exports no function load_plugin"));
  EXPECT_THAT(outcome.output, HasSubstr("0 passed"));
}

TEST_F(CheckEngineTest, AFileThatIsNoLibraryIsAFinding) {
  folder.write("text.so", "This is a text.");
  const Outcome outcome = run({path("text.so")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.output, HasSubstr("the library cannot be opened"));
}

// Plug-ins that cannot be checked -----------------------------------------------------------------

TEST_F(CheckEngineTest, WithoutAPackageSpeechIsNotRunAndNotPassed) {
  const Outcome outcome = run({SPECIMEN_ENGINE, "--packages", path("."), "--json"});
  EXPECT_EQ(outcome.status, 1);
  const json report = json::parse(outcome.output);
  EXPECT_EQ(report.at("failed"), 0) << outcome.output;
  for (const char* name : {"initialize", "languages", "speech", "stop", "threads"}) {
    EXPECT_EQ(checkNamed(report, name).at("status"), "not run") << name;
  }
  EXPECT_THAT(checkNamed(report, "speech").at("reason"), HasSubstr("--packages"));
}

TEST_F(CheckEngineTest, WhatNeedsABrokenCheckIsNotRun) {
  const Outcome outcome = runSpecimen({"--json"}, "crash in initialize");
  const json report = json::parse(outcome.output);
  EXPECT_EQ(checkNamed(report, "entry-points").at("status"), "passed");
  EXPECT_EQ(checkNamed(report, "speech").at("status"), "not run");
  EXPECT_THAT(checkNamed(report, "languages").at("reason"), HasSubstr("it needs initialize"));
}

// Options and reports -----------------------------------------------------------------------------

TEST_F(CheckEngineTest, AnEngineIsFoundByName) {
  const Outcome outcome = run({"specimen", "--engines", ENGINE_FOLDER, "--check", "entry-points"});
  EXPECT_EQ(outcome.status, 0) << read("errors");
  EXPECT_THAT(outcome.output, HasSubstr("the engine calls itself \"Specimen\""));
}

TEST_F(CheckEngineTest, ANameThatNoHostLoadsIsNoted) {
  const std::string report = runSpecimen({"--check", "entry-points"}).output;

  EXPECT_THAT(report, HasSubstr("note: no host loads a plug-in called "));
  EXPECT_THAT(report, HasSubstr("libkqtts-aitalk.so, libkqtts-log.so, libkqtts-nuance.so"));
}

TEST_F(CheckEngineTest, AnInstalledEngineOfTheSameNameIsNoted) {
  boost::filesystem::create_directories(folder.path() / "mine");
  boost::filesystem::create_directories(folder.path() / "installed/kqtts");
  boost::filesystem::copy_file(SPECIMEN_ENGINE, path("mine/libkqtts-nuance.so"));
  folder.write("installed/kqtts/libkqtts-nuance.so", "an engine");

  const std::string report = run({path("mine/libkqtts-nuance.so"), "--engines", path("installed"),
                                  "--check", "entry-points"})
                                 .output;

  EXPECT_THAT(report, HasSubstr("note: in the folder of " + path("installed/kqtts/")));
}

TEST_F(CheckEngineTest, WrongUseIsToldApart) {
  EXPECT_EQ(run({}).status, 2);
  EXPECT_EQ(run({"no-such-engine"}).status, 2);
  EXPECT_EQ(run({path(".")}).status, 2);
  EXPECT_EQ(run({SPECIMEN_ENGINE, "--check", "no-such-check"}).status, 2);
  EXPECT_EQ(run({SPECIMEN_ENGINE, "--timeout", "0"}).status, 2);
}

TEST_F(CheckEngineTest, AFindingIsToldWithWhyAndWhatToDo) {
  const Outcome outcome = runSpecimen({"--check", "speech"}, "no end event");
  EXPECT_THAT(outcome.output, HasSubstr("FAILED   speech: "));
  EXPECT_THAT(outcome.output, HasSubstr("why: Hosts follow speech"));
  EXPECT_THAT(outcome.output, HasSubstr("do:  Call onStart once"));
}

TEST_F(CheckEngineTest, BuildServersGetATestCaseForEachCheck) {
  runSpecimen({"--check", "parameters", "--junit", path("report.xml")}, "refuses by another type");
  const std::string xml = read("report.xml");
  EXPECT_THAT(xml, HasSubstr("tests=\"4\" failures=\"1\" errors=\"0\" skipped=\"0\""));
  EXPECT_THAT(xml, HasSubstr("<testcase classname=\"check-engine\" name=\"parameters\""));
  EXPECT_THAT(xml, HasSubstr("<failure message=\"setParameter(&quot;No Such"));
  EXPECT_THAT(xml, Not(HasSubstr("std::runtime_error (\"")));
}

TEST_F(CheckEngineTest, EveryCheckIsListedAndDocumented) {
  const Outcome outcome = run({"--list"});
  EXPECT_EQ(outcome.status, 0);
  std::ifstream file(CHECK_ENGINE_GUIDE);
  const std::string guide{std::istreambuf_iterator<char>(file), {}};
  std::istringstream lines(outcome.output);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_THAT(guide, HasSubstr("### " + line.substr(0, line.find(':')) + "\n"));
  }
  EXPECT_GT(count, 20);
}

}  // namespace
