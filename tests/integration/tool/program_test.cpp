#include "program_test.hpp"

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>

namespace tool_test {

namespace fs = boost::filesystem;

ProgramTest::ProgramTest() {
  folder.write("no-audio.conf", "pcm.!default { type hw card 31 }\n");
  launch.environment = {{"KQTTS_PACKAGE_PATH", ""},
                        {"LC_ALL", "C"},
                        {"ZU_LOG_LEVEL", ""},
                        {"ALSA_CONFIG_PATH", path("no-audio.conf")},
                        {"JACK_NO_START_SERVER", "1"}};
  addPackage("English", "Bob");
  addPackage("French", "Anne");
}

std::string ProgramTest::addPackage(const std::string& language, const std::string& voice,
                                    const std::string& version) {
  const auto setting = [](const std::string& name, const std::string& value) {
    return "<s name=\"" + name + "\" value=\"" + value + "\"/>";
  };
  const std::string name = "packages/" + language;
  fs::create_directories(folder.path() / name);
  folder.write(name + "/manifest.xml", "<package>" + setting("uuid", "tone-" + language) +
                                           setting("version", version) + setting("engine", "tone") +
                                           setting("language", language) + setting("voice", voice) +
                                           "</package>");
  return path(name);
}

void ProgramTest::removePackages() {
  fs::remove_all(packageFolder());
  fs::create_directories(packageFolder());
}

std::vector<std::string> ProgramTest::command(std::vector<std::string> arguments) const {
  std::vector<std::string> words = {KQTTS_PROGRAM,      arguments.front(), "--engines",
                                    TEST_ENGINE_FOLDER, "--packages",      packageFolder()};
  words.insert(words.end(), arguments.begin() + 1, arguments.end());
  return words;
}

Outcome ProgramTest::run(std::vector<std::string> arguments, const std::string& input) const {
  Process process(command(std::move(arguments)), launch);
  process.write(input);
  return process.wait();
}

void expectFailure(const Outcome& outcome, int status, const std::string& partOfLine) {
  EXPECT_EQ(outcome.status, status);
  EXPECT_EQ(outcome.output.size(), 0U);
  EXPECT_THAT(outcome.errors, testing::StartsWith("kqtts: "));
  EXPECT_THAT(outcome.errors, testing::HasSubstr(partOfLine));
  EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome.errors;
}

}  // namespace tool_test
