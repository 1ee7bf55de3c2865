#include "patient.hpp"

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <utility>

namespace doctor_test {

namespace fs = boost::filesystem;

namespace {

/// A copy of the program, which so finds no engines next to itself, and its libraries in a folder
/// without plug-ins. Made once.
class Program {
 public:
  Program() {
    fs::create_directories(folder.path() / "bin");
    fs::create_directories(folder.path() / "lib");
    fs::copy_file(KQTTS_PROGRAM, path());
    for (const fs::directory_entry& entry : fs::directory_iterator(KQTTS_LIBRARIES)) {
      if (!fs::is_directory(entry.path())) {
        fs::create_symlink(entry.path(), folder.path() / "lib" / entry.path().filename());
      }
    }
  }

  std::string path() const { return (folder.path() / "bin/kqtts").string(); }
  std::string libraries() const { return (folder.path() / "lib").string(); }

 private:
  test::TempFolder folder;
};

const Program& program() {
  static const Program copy;
  return copy;
}

}  // namespace

std::vector<nlohmann::json> Answer::findings(const std::string& cause) const {
  std::vector<nlohmann::json> found;
  for (const nlohmann::json& finding : report.at("findings")) {
    if (finding.at("cause") == cause) {
      found.push_back(finding);
    }
  }
  return found;
}

std::vector<std::string> Answer::causes(const std::string& severity) const {
  std::vector<std::string> found;
  for (const nlohmann::json& finding : report.at("findings")) {
    if (finding.at("severity") == severity) {
      found.push_back(finding.at("cause"));
    }
  }
  return found;
}

Patient::Patient() {
  const std::string nowhere = (folder.path() / "nowhere").string();
  write(folder.path() / "no-audio.conf", "pcm.!default { type hw card 31 }\n");
  environment = {{"LD_LIBRARY_PATH", program().libraries()},
                 {"ALSA_CONFIG_PATH", (folder.path() / "no-audio.conf").string()},
                 {"JACK_NO_START_SERVER", "1"},
                 {"XDG_DATA_HOME", nowhere},
                 {"XDG_DATA_DIRS", nowhere},
                 {"LC_ALL", "C"},
                 {"KQTTS_PACKAGE_PATH", ""},
                 {"ZU_LIBRARY_PATH", ""},
                 {"ZU_LOG_LEVEL", ""},
                 {"ESPEAK_DATA_PATH", ""}};
  fs::create_directories(folder.path() / "engines/kqtts");
  fs::create_directories(folder.path() / "packages");
  installPlugin("nuance", TEST_LIBRARIES "/patient_plugin.so");
  installPackage("bob", "English");
}

fs::path Patient::plugin(const std::string& name) const {
  return folder.path() / "engines/kqtts" / ("libkqtts-" + name + ".so");
}

void Patient::installPlugin(const std::string& name, const std::string& library) {
  removePlugin(name);
  fs::copy_file(library, plugin(name));
}

void Patient::removePlugin(const std::string& name) {
  fs::remove_all(plugin(name));
}

fs::path Patient::package(const std::string& name) const {
  return folder.path() / "packages" / name;
}

void Patient::installPackage(const std::string& name, const std::string& language,
                             const std::string& version, const std::string& engine,
                             const std::string& voice) {
  writeSettings(
      package(name) / "manifest.xml",
      {{"uuid", "uuid-" + name}, {"version", version}, {"engine", engine}, {"language", language}});
  writeSettings(package(name) / "voices" / (voice.empty() ? name : voice) / "voice.xml",
                {{"sourceVoice", "tone"}});
}

void Patient::removePackage(const std::string& name) {
  fs::remove_all(package(name));
}

void Patient::writeSettings(const fs::path& file,
                            const std::vector<std::pair<std::string, std::string>>& settings) {
  std::string content = "<settings>";
  for (const auto& [name, value] : settings) {
    content += "<setting name=\"" + name + "\" value=\"" + value + "\"/>";
  }
  write(file, content + "</settings>\n");
}

void Patient::write(const fs::path& file, const std::string& content) {
  fs::create_directories(file.parent_path());
  fs::ofstream(file, std::ios::binary) << content;
}

tool_test::Outcome Patient::run(std::vector<std::string> arguments) const {
  std::vector<std::string> command = {program().path()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  command.insert(command.end(), {"--engines", (folder.path() / "engines").string()});
  if (namesPackages) {
    command.insert(command.end(), {"--packages", (folder.path() / "packages").string()});
  }
  tool_test::Launch launch;
  launch.environment = environment;
  return tool_test::Process(command, launch).wait();
}

Answer Patient::ask(const std::vector<std::string>& arguments) const {
  std::vector<std::string> words = arguments;
  words.emplace_back("--json");
  const tool_test::Outcome outcome = run(words);
  return {outcome.status, nlohmann::json::parse(outcome.output)};
}

}  // namespace doctor_test
