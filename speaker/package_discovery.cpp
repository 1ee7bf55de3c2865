#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <kqtts/package_names.hpp>
#include <kqtts/speaker.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <set>
#include <sstream>
#include <zu/log.hpp>

namespace KQ {

namespace {

namespace fs = boost::filesystem;

std::string environment(const char* variable, const std::string& otherwise = "") {
  const char* value = secure_getenv(variable);
  return value == nullptr || *value == '\0' ? otherwise : value;
}

std::vector<std::string> splitPath(const std::string& path) {
  std::vector<std::string> folders;
  std::istringstream parts(path);
  for (std::string folder; std::getline(parts, folder, ':');) {
    if (!folder.empty()) folders.push_back(folder);
  }
  return folders;
}

bool isPackage(const fs::path& folder) {
  boost::system::error_code ignored;
  return fs::is_regular_file(folder / package_names::manifestFile, ignored);
}

std::vector<fs::path> packageFoldersIn(const fs::path& folder) {
  if (isPackage(folder)) return {folder};
  std::vector<fs::path> found;
  boost::system::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (isPackage(entry->path())) found.push_back(entry->path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

void warnOfMissingUuid(const fs::path& manifest) {
  zu::log::write(zu::log::Level::warning, "kqtts.speaker",
                 manifest.string() + " names no uuid; the package is left out.", __FILE__, __func__,
                 __LINE__);
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

std::vector<zu::PackageInfo> packagesIn(const std::vector<std::string>& folders) {
  const TextToSpeechManager reader(nullptr, nullptr);  // loads nothing
  std::vector<zu::PackageInfo> packages;
  std::set<std::string> known;
  for (const std::string& folder : folders) {
    for (const fs::path& path : packageFoldersIn(folder)) {
      const fs::path manifest = path / package_names::manifestFile;
      const std::string uuid = reader.getParamFromXml(package_names::uuid, manifest);
      if (uuid.empty()) {
        warnOfMissingUuid(manifest);
      } else if (known.insert(uuid).second) {
        packages.push_back(
            {uuid, reader.getParamFromXml(package_names::version, manifest), path.string()});
      }
    }
  }
  return packages;
}

std::vector<zu::PackageInfo> installedPackages() {
  return packagesIn(standardPackageFolders());
}

}  // namespace KQ
