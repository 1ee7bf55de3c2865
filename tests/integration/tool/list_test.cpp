#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "program_test.hpp"

namespace tool_test {

namespace {

using nlohmann::json;
using testing::HasSubstr;

class List : public ProgramTest {
 protected:
  List() { addPackage("Polish", "Ola", "0.9"); }

  json listed(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "list");
    arguments.emplace_back("--json");
    return json::parse(run(arguments).output);
  }
};

TEST_F(List, ShowsEngines) {
  EXPECT_EQ(run({"list", "engines"}).output, "nuance  Tone 1.0  3  3\n");
  EXPECT_EQ(listed({"engines"}), json::parse(R"([{"plugin": "nuance", "name": "Tone 1.0",
                                                   "languages": 3, "voices": 3}])"));
}

TEST_F(List, ShowsLanguages) {
  EXPECT_EQ(run({"list", "languages"}).output,
            "English  en_US  Tone 1.0\n"
            "French   fr_FR  Tone 1.0\n"
            "Polish   pl_PL  Tone 1.0  outdated\n");
  EXPECT_EQ(listed({"languages"})[2],
            json::parse(R"({"language": "Polish", "locale": "pl_PL", "engine": "Tone 1.0",
                            "outdated": true})"));
}

TEST_F(List, ShowsVoices) {
  EXPECT_EQ(run({"list", "voices"}).output,
            "Anne  French   fr_FR  default\n"
            "Bob   English  en_US  default\n"
            "Ola   Polish   pl_PL  default\n");
  EXPECT_EQ(listed({"voices"})[0],
            json::parse(R"({"voice": "Anne", "language": "French", "locale": "fr_FR",
                            "default": true})"));
}

TEST_F(List, ShowsTheVoicesOfOneLanguage) {
  EXPECT_EQ(run({"list", "voices", "-l", "fr"}).output, "Anne  French  fr_FR  default\n");
}

TEST_F(List, ShowsParametersWithTheirValues) {
  EXPECT_EQ(run({"list", "parameters"}).output, "speed  100\n");
  EXPECT_EQ(listed({"parameters", "-l", "fr"}),
            json::parse(R"([{"name": "speed", "value": 100.0}])"));
}

TEST_F(List, ShowsNothingWhereNothingIsInstalled) {
  removePackages();
  EXPECT_EQ(run({"list", "languages"}).output, "");
  EXPECT_EQ(run({"list", "languages", "--json"}).output, "[]\n");
}

TEST_F(List, FailsWhenItCannotWrite) {
  launch.outputFile = "/dev/full";
  expectFailure(run({"list", "voices"}), 1, "No space left on device");
}

TEST_F(List, RefusesWrongUsage) {
  expectFailure(run({"list"}), 2, "SUBJECT is required");
  expectFailure(run({"list", "cats"}), 2, "cats");
  expectFailure(run({"list", "voices", "cats"}), 2, "cats");
}

class Program : public ProgramTest {
 protected:
  Outcome runPlain(const std::vector<std::string>& arguments) const {
    std::vector<std::string> words = {KQTTS_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return Process(words, launch).wait();
  }
};

TEST_F(Program, TellsItsUsageOnStandardOutput) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"say", "--help"}, {"list", "--help"}}) {
    const Outcome outcome = runPlain(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, HasSubstr("Usage: kqtts"));
    EXPECT_EQ(outcome.errors, "");
  }
}

TEST_F(Program, TellsItsVersion) {
  EXPECT_EQ(runPlain({"--version"}).output, "kqtts " KQTTS_VERSION "\n");
}

TEST_F(Program, RefusesToRunWithoutASubcommand) {
  expectFailure(runPlain({}), 2, "subcommand is required");
  expectFailure(runPlain({"sing"}), 2, "there is no command 'sing'");
}

TEST_F(List, RefusesOptionsThatItWouldIgnore) {
  expectFailure(run({"list", "engines", "-l", "fr"}), 2,
                "'kqtts list engines' takes no --language");
  expectFailure(run({"list", "languages", "-v", "Bob"}), 2, "takes no --voice");
  expectFailure(run({"list", "voices", "-v", "Bob"}), 2, "takes no --voice");
}

TEST_F(List, SaysThatAFolderHoldsNoPlugins) {
  const Outcome outcome = run({"list", "--engines", packageFolder(), "engines"});

  EXPECT_EQ(outcome.errors, "kqtts: note: there is no folder " + packageFolder() +
                                "/kqtts, so --engines finds no plug-in there\n");
}

}  // namespace

}  // namespace tool_test
