#include "app/command.hpp"

namespace tool {

namespace {

std::map<std::string, Command>& registry() {
  static std::map<std::string, Command> commands;
  return commands;
}

}  // namespace

CommandRegistration::CommandRegistration(const std::string& name, Command command) {
  registry().emplace(name, std::move(command));
}

const std::map<std::string, Command>& CommandRegistration::commands() {
  return registry();
}

}  // namespace tool
