#include <dlfcn.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <set>
#include <sstream>
#include <utility>
#include <zu/path.hpp>

#include "immortal.hpp"

namespace zu::path {

namespace {

namespace fs = std::filesystem;

struct AddedDirs {
  std::mutex mutex;
  std::vector<std::string> dirs;  // newest first
};

bool hasNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

// The full path of a folder, without a slash at its end, or "" if it does not exist.
std::string fullPath(const std::string& directory) {
  std::error_code error;
  std::string path = fs::absolute(directory, error).string();
  if (error || hasNul(path)) {
    return "";
  }
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

// The folder of this library. Determined once: a relative path is valid only for the first working
// folder.
struct OwnFolder {
  OwnFolder() {
    Dl_info info{};
    // Not an exported function: its address could be in the program.
    if (dladdr(reinterpret_cast<const void*>(&hasNul), &info) != 0) {
      path = fullPath(fs::path(info.dli_fname).parent_path());
    }
  }

  std::string path;
};

/// Folders in the order of adding. A folder is kept once, under its first path: different paths
/// lead to one folder where there are symbolic links.
class FolderList {
 public:
  void add(const std::string& directory) {
    if (!directory.empty() && known.insert(directory).second && isNewFolder(directory)) {
      folders.push_back(directory);
    }
  }

  const std::vector<std::string>& paths() const { return folders; }

 private:
  /// Notes a folder. One that does not exist counts as new.
  bool isNewFolder(const std::string& directory) {
    struct stat status {};
    return stat(directory.c_str(), &status) != 0 ||
           identities.insert({status.st_dev, status.st_ino}).second;
  }

  std::vector<std::string> folders;
  std::set<std::string> known;
  std::set<std::pair<dev_t, ino_t>> identities;
};

void addEnvironment(FolderList& folders) {
  const char* value = secure_getenv("ZU_LIBRARY_PATH");
  std::istringstream list(value != nullptr ? value : "");
  for (std::string directory; std::getline(list, directory, ':');) {
    folders.add(fullPath(directory));
  }
}

bool isAcceptable(const std::string& name) {
  const fs::path path(name);
  return !name.empty() && !hasNul(name) && path.is_relative() &&
         std::find(path.begin(), path.end(), "..") == path.end();
}

}  // namespace

std::string findLib(const std::string& name) {
  if (isAcceptable(name)) {
    for (const std::string& directory : libDirs()) {
      std::string path = directory;
      path.append("/").append(name).append(".so");
      std::error_code error;
      if (fs::is_regular_file(path, error)) {
        return path;
      }
    }
  }
  return "";
}

std::vector<std::string> libDirs() {
  auto& added = immortal<AddedDirs>();
  std::unique_lock<std::mutex> lock(added.mutex);
  const std::vector<std::string> addedDirs = added.dirs;
  lock.unlock();
  FolderList folders;
  for (const std::string& directory : addedDirs) {
    folders.add(directory);
  }
  addEnvironment(folders);
  folders.add(immortal<OwnFolder>().path);
  folders.add(ZU_INSTALL_LIBDIR);
  return folders.paths();
}

void addLibDir(const std::string& directory) {
  const std::string path = fullPath(directory);
  if (path.empty()) {
    return;
  }
  auto& added = immortal<AddedDirs>();
  const std::lock_guard<std::mutex> lock(added.mutex);
  added.dirs.erase(std::remove(added.dirs.begin(), added.dirs.end(), path), added.dirs.end());
  added.dirs.insert(added.dirs.begin(), path);
}

}  // namespace zu::path
