#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "process.hpp"
#include "support/temp_folder.hpp"

namespace tool_test {

/// Runs the program with the tone engine, which has an English package (voice Bob) and a French one
/// (voice Anne). There is no other engine or package, and no audio device.
class ProgramTest : public testing::Test {
 protected:
  ProgramTest();

  /// A package of the tone engine. \return its folder
  std::string addPackage(const std::string& language, const std::string& voice,
                         const std::string& version = "1.0");
  void removePackages();

  std::vector<std::string> command(std::vector<std::string> arguments) const;
  /// Runs `kqtts ARGUMENTS` with a text on standard input.
  Outcome run(std::vector<std::string> arguments, const std::string& input = "") const;

  std::string path(const std::string& name) const { return (folder.path() / name).string(); }
  std::string packageFolder() const { return path("packages"); }

  test::TempFolder folder;
  Launch launch;
};

/// Expects a failure that is reported in one line.
void expectFailure(const Outcome& outcome, int status, const std::string& partOfLine);

}  // namespace tool_test
