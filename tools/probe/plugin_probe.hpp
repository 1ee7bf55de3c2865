#pragma once

#include <chrono>
#include <string>
#include <vector>
#include <zu/package_info.hpp>

#include "probe/probe.hpp"

namespace tool {

/// The files that have the name of a plug-in's library.
struct PluginSearch {
  std::string library;               ///< the one that a host loads, or ""
  std::vector<std::string> hidden;   ///< others; the search finds `library` before them
  std::vector<std::string> noFiles;  ///< not regular files
};

PluginSearch searchPlugin(const std::string& plugin);

/// The steps of a plug-in's probe.
namespace steps {
constexpr const char* open = "open";              ///< the library is opened
constexpr const char* create = "create";          ///< load_plugin creates an engine
constexpr const char* initialize = "initialize";  ///< the engine is given the packages
constexpr const char* describe = "describe";      ///< the engine is asked what it offers
constexpr const char* packages = "packages";      ///< it is given single packages
constexpr const char* close = "close";            ///< the engine is shut down
}  // namespace steps

/// A package that an engine takes.
struct Claim {
  std::string package;  ///< its folder
  bool outdated = false;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Claim, package, outdated)

/// The result of trying one plug-in.
struct PluginReport {
  std::string name;
  PluginSearch search;
  Probe probe;
  std::string openingError;    ///< why the system did not open its library; "" if it did
  bool hasEntryPoint = false;  ///< whether the library exports load_plugin
  bool created = false;        ///< whether there was an engine
  bool started = false;        ///< whether the engine accepted the packages
  EngineFacts engine;          ///< of an engine that started
  std::vector<Claim> claims;

  /// Whether this plug-in brings down or blocks a host that loads it.
  bool isHarmful() const;
};

/// Searches a plug-in, loads it alone in a child process and tries it with the packages.
PluginReport probePlugin(const std::string& plugin, const std::vector<zu::PackageInfo>& packages,
                         std::chrono::milliseconds deadline);

/// Whether a path is a folder, or lies in it. Compares both paths as they are written.
bool isInside(const std::string& path, const std::string& folder);

}  // namespace tool
