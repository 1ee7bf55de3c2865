#pragma once

#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <string>
#include <zu/path.hpp>

#include "fixtures/journal.hpp"
#include "support/temp_folder.hpp"

namespace test {

/// A folder that is searched for plug-ins before all others. At first it has the three plug-ins
/// that managers load, without engines, so that the loader finds none in other folders.
class PluginFolder {
 public:
  PluginFolder() {
    zu::path::addLibDir(folder.path().string());
    for (const char* name : {"aitalk", "nuance", "log"}) {
      install(name, "null_engine");
    }
    journal::setListener(nullptr);
    journal::take();
  }
  ~PluginFolder() { journal::setListener(nullptr); }
  PluginFolder(const PluginFolder&) = delete;
  PluginFolder& operator=(const PluginFolder&) = delete;

  /// Installs a fixture under the first file name of the plug-in `name`. \return its path
  std::string install(const std::string& name, const std::string& fixture) const {
    return copy("libkqtts-" + name, fixture);
  }

  /// Installs a fixture under the second file name, which is searched after the first.
  std::string installUnderSecondName(const std::string& name, const std::string& fixture) const {
    return copy("kqtts-" + name, fixture);
  }

  /// Whether the library of this plug-in is mapped into the process.
  bool isMapped(const std::string& name) const {
    std::ifstream maps("/proc/self/maps");
    const std::string file = folder.path().string() + "/kqtts/libkqtts-" + name + ".so";
    for (std::string line; std::getline(maps, line);) {
      if (line.find(file) != std::string::npos) {
        return true;
      }
    }
    return false;
  }

 private:
  std::string copy(const std::string& name, const std::string& fixture) const {
    const boost::filesystem::path file = folder.path() / "kqtts" / (name + ".so");
    boost::filesystem::create_directories(file.parent_path());
    // Always a new file: for the loader, the same file is the same library.
    boost::filesystem::remove(file);
    boost::filesystem::copy_file(PLUGIN_FIXTURES "/" + fixture + ".so", file);
    return file.string();
  }

  TempFolder folder;
};

}  // namespace test
