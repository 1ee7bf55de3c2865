#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "probe/package_survey.hpp"
#include "probe/plugin_probe.hpp"
#include "probe/session_probe.hpp"
#include "say/host_session.hpp"

namespace tool {

/// All that can be found out about an installation without relying on anything in it.
struct Installation {
  std::vector<std::string> libraryFolders;     ///< where plug-ins are looked for
  std::vector<PluginReport> plugins;           ///< in the order of merging
  std::vector<std::string> unloadedLibraries;  ///< engine libraries whose names no host loads
  PackageSurvey packages;
  std::optional<SessionReport> session;  ///< none when no host could be started safely
  Probe audio;
  std::string audioDevice;  ///< its name, or "" when there is none
  std::vector<std::pair<std::string, std::optional<std::string>>> environment;

  bool hasStartedPlugin() const;
  /// Whether an engine has handed over sound.
  bool canSpeak() const;
};

/// Examines an installation. \param patience  how long each plug-in may take, and the audio system;
/// a host with all of them, twice as long
Installation examineInstallation(const HostOptions& options, std::chrono::milliseconds patience);

/// Looks at the packages alone.
PackageSurvey surveyPackages(const HostOptions& options);

/// How long a host with all plug-ins may take.
std::chrono::milliseconds sessionPatience(std::chrono::milliseconds patience);

}  // namespace tool
