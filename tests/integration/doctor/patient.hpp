#pragma once

#include <boost/filesystem/path.hpp>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "process.hpp"
#include "support/temp_folder.hpp"

namespace doctor_test {

/// The program's report about an installation.
struct Answer {
  int status = 0;
  nlohmann::json report;

  bool speech() const { return report.at("speech"); }
  /// The findings of one cause.
  std::vector<nlohmann::json> findings(const std::string& cause) const;
  /// The causes of all findings of a severity.
  std::vector<std::string> causes(const std::string& severity) const;
};

/// An installation in a separate folder, with the program, its libraries, and nothing else of the
/// machine.
///
/// It is healthy at first: it has the plug-in "nuance", which speaks a tone and takes packages for
/// "tone", and an English package for it with the voice "bob".
class Patient {
 public:
  Patient();

  /// The path of a plug-in, which need not exist.
  boost::filesystem::path plugin(const std::string& name) const;
  /// Replaces a plug-in by a file of the tests.
  void installPlugin(const std::string& name, const std::string& library);
  void removePlugin(const std::string& name);

  boost::filesystem::path package(const std::string& name) const;
  /// Installs a package with one voice, named after its folder unless another name is given.
  void installPackage(const std::string& name, const std::string& language,
                      const std::string& version = "1.0", const std::string& engine = "tone",
                      const std::string& voice = "");
  void removePackage(const std::string& name);

  /// Writes a file of settings, name by name and value by value.
  void writeSettings(const boost::filesystem::path& file,
                     const std::vector<std::pair<std::string, std::string>>& settings);
  void write(const boost::filesystem::path& file, const std::string& content);

  tool_test::Outcome run(std::vector<std::string> arguments) const;
  /// Runs a sub-command with --json.
  Answer ask(const std::vector<std::string>& arguments) const;

  std::map<std::string, std::string> environment;
  bool namesPackages = true;  ///< whether --packages is given
  test::TempFolder folder;
};

}  // namespace doctor_test
