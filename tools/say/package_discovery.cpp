#include "say/package_discovery.hpp"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <kqtts/package_names.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <sstream>
#include <unordered_set>
#include <zu/log.hpp>

namespace tool {

namespace {

namespace fs = boost::filesystem;

namespace names = KQ::package_names;

std::string environment(const char* variable, const std::string& otherwise = "") {
  const char* value = secure_getenv(variable);
  return value == nullptr || *value == '\0' ? otherwise : value;
}

std::vector<std::string> splitPath(const std::string& path) {
  std::vector<std::string> folders;
  std::istringstream parts(path);
  for (std::string folder; std::getline(parts, folder, ':');) {
    if (!folder.empty()) {
      folders.push_back(folder);
    }
  }
  return folders;
}

bool isPackage(const fs::path& folder) {
  boost::system::error_code ignored;
  return fs::is_regular_file(folder / names::manifestFile, ignored);
}

std::vector<fs::path> packageFoldersIn(const fs::path& folder) {
  if (isPackage(folder)) {
    return {folder};
  }
  std::vector<fs::path> found;
  boost::system::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (isPackage(entry->path())) {
      found.push_back(entry->path());
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

/// Writes a warning about a package that is left out.
void warn(const std::string& message) {
  zu::log::write(zu::log::Level::warning, "kqtts.tool", message + "; the package is left out.",
                 __FILE__, __func__, __LINE__);
}

/// Whether the file of settings is too large to be one. It would hold up every start.
bool isTooLarge(const fs::path& file) {
  constexpr std::uintmax_t longest = std::uintmax_t{1} << 20U;
  boost::system::error_code error;
  const std::uintmax_t size = fs::file_size(file, error);
  return !error && size > longest;
}

}  // namespace

std::vector<std::string> standardPackageFolders() {
  std::vector<std::string> folders = splitPath(environment("KQTTS_PACKAGE_PATH"));
  boost::system::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  if (!error) {
    folders.push_back((program.parent_path().parent_path() / "share/kqtts/packages").string());
  }
  const std::string home = environment("HOME");
  const std::string userData =
      environment("XDG_DATA_HOME", home.empty() ? "" : home + "/.local/share");
  for (const std::string& data :
       splitPath(userData + ":" + environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share"))) {
    folders.push_back(data + "/kqtts/packages");
  }
  return folders;
}

std::vector<zu::PackageInfo> findPackages(const std::vector<std::string>& folders,
                                          const KQ::TextToSpeechEngine& reader) {
  std::vector<zu::PackageInfo> packages;
  std::unordered_set<std::string> uuids;
  for (const std::string& folder : folders) {
    for (const fs::path& path : packageFoldersIn(folder)) {
      const fs::path manifest = path / names::manifestFile;
      if (isTooLarge(manifest)) {
        warn(manifest.string() + " is larger than 1 MiB");
        continue;
      }
      const std::string uuid = reader.getParamFromXml(names::uuid, manifest);
      if (uuid.empty()) {
        warn(manifest.string() + " names no uuid");
        continue;
      }
      if (!uuids.insert(uuid).second) {
        continue;
      }
      packages.push_back({uuid, reader.getParamFromXml(names::version, manifest), path.string()});
    }
  }
  return packages;
}

}  // namespace tool
