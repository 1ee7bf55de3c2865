#include "isolation/child/plugin_search.hpp"

#include <boost/filesystem/operations.hpp>
#include <zu/os.hpp>
#include <zu/path.hpp>

namespace KQ::isolation {

namespace {

/// Whether a file is an isolating plug-in. Another library stays open: it is the one that is
/// wanted.
bool isIsolating(const std::string& file) {
  boost::system::error_code error;
  if (!boost::filesystem::is_regular_file(file, error)) {
    return false;
  }
  void* const library = zu::os::dlopen(file.c_str(), -1);
  if (library == nullptr) {
    return false;
  }
  const bool isMarked = zu::os::dlsym(library, "kqtts_isolating_plugin") != nullptr;
  if (isMarked) {
    zu::os::dlclose(library);
  }
  return isMarked;
}

}  // namespace

bool searchBeyondIsolation(const std::string& plugin, const std::vector<std::string>& folders) {
  const std::string name = "kqtts/libkqtts-" + plugin;
  std::vector<std::string> kept;
  bool isFound = false;
  for (const std::string& folder : folders) {
    std::string file = folder;
    file.append("/").append(name).append(".so");
    boost::system::error_code error;
    if (!isFound && boost::filesystem::is_regular_file(file, error)) {
      isFound = !isIsolating(file);
      if (!isFound) {
        continue;
      }
    }
    kept.push_back(folder);
  }
  // The newest folder is looked at first.
  for (auto folder = kept.rbegin(); folder != kept.rend(); ++folder) {
    zu::path::addLibDir(*folder);
  }
  const std::string first = zu::path::findLib(name);
  return first.empty() || !isIsolating(first);
}

}  // namespace KQ::isolation
