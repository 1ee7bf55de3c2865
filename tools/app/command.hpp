#pragma once

#include <functional>
#include <map>
#include <string>

#include "system/standard_output.hpp"

namespace CLI {
class App;
}

namespace tool {

/// The exit status of the program. After a signal: 128 plus its number, as in a shell.
enum ExitStatus { done = 0, failed = 1, wrongUsage = 2 };

/// Runs a sub-command and returns the exit status of the program. If it throws, the program reports
/// the exception in one line and fails.
using CommandAction = std::function<int(StandardOutput&)>;

/// Adds a sub-command's options to its parser.
/// \return what to run if the user chose this sub-command
using CommandSetup = CommandAction (*)(CLI::App& parser);

/// A sub-command of the program.
struct Command {
  std::string description;
  CommandSetup setup;
};

/// Adds a sub-command when the program starts. One object of this type in a file makes a whole
/// sub-command.
class CommandRegistration {
 public:
  CommandRegistration(const std::string& name, Command command);

  /// All sub-commands by name.
  static const std::map<std::string, Command>& commands();
};

}  // namespace tool
