#pragma once

#include <chrono>

namespace CLI {
class App;
}

namespace tool {

/// How long a plug-in may take before it counts as hung.
struct Patience {
  double seconds = 10;

  std::chrono::milliseconds milliseconds() const {
    return std::chrono::milliseconds(static_cast<int>(seconds * 1000));
  }
};

/// Adds --timeout to a sub-command.
void addPatienceOption(CLI::App& parser, Patience& patience);

}  // namespace tool
