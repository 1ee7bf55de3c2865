#pragma once

#include <chrono>
#include <string>
#include <vector>
#include <zu/package_info.hpp>

#include "probe/probe.hpp"

namespace tool {

/// The names of the plug-ins that the manager loads, in the order of merging: of several engines
/// that offer a language, the last one has it.
const std::vector<std::string>& pluginNames();

/// The names under which the library of a plug-in is looked for, in this order, each in all folders
/// of the library search.
std::vector<std::string> libraryNamesOf(const std::string& plugin);

/// Where the library of a plug-in may stand.
struct PluginSearch {
  std::string library;               ///< the one that is loaded, or ""
  std::vector<std::string> hidden;   ///< others, which it comes before
  std::vector<std::string> noFiles;  ///< of such a name, but no regular file
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

/// What became of one plug-in.
struct PluginReport {
  std::string name;
  PluginSearch search;
  Probe probe;
  bool created = false;  ///< there was an engine
  bool started = false;  ///< and it accepted the packages
  EngineFacts engine;    ///< of one that started
  std::vector<Claim> claims;

  /// Whether a host that loads this plug-in comes to grief with it.
  bool isHarmful() const;
};

/// Looks for a plug-in, loads it by itself and tries it with the packages.
PluginReport probePlugin(const std::string& plugin, const std::vector<zu::PackageInfo>& packages,
                         std::chrono::milliseconds deadline);

/// Whether a file or folder stands in a folder, or is it. Both are compared as written.
bool isInside(const std::string& path, const std::string& folder);

}  // namespace tool
