#pragma once

#include <chrono>

#include "say/host_session.hpp"

namespace CLI {
class App;
}

namespace tool {

// Options of several sub-commands.

/// Adds --packages and --engines to a sub-command. `options` must outlive the parsing. A note says
/// if a folder of --engines has no sub-folder for plug-ins.
void addHostOptions(CLI::App& parser, HostOptions& options);

/// Adds -l and -v to a sub-command.
void addVoiceOptions(CLI::App& parser, VoiceChoice& choice);

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
