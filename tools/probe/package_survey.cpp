#include "probe/package_survey.hpp"

#include <unistd.h>

#include <algorithm>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstring>
#include <kqtts/package_names.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <set>

#include "say/package_discovery.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

namespace names = KQ::package_names;

constexpr std::size_t scannedBytes = std::size_t{64} * 1024;
constexpr std::size_t longestSettingName = 64;

bool isThere(const fs::path& path) {
  boost::system::error_code ignored;
  const fs::file_type type = fs::symlink_status(path, ignored).type();
  return type != fs::file_not_found && type != fs::status_error;
}

bool isFile(const fs::path& path) {
  boost::system::error_code ignored;
  return fs::is_regular_file(path, ignored);
}

std::vector<fs::path> foldersIn(const fs::path& folder, std::string& defect) {
  std::vector<fs::path> found;
  boost::system::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    boost::system::error_code ignored;
    if (fs::is_directory(entry->path(), ignored)) {
      found.push_back(entry->path());
    }
  }
  if (error) {
    defect = error.message();
  }
  std::sort(found.begin(), found.end());
  return found;
}

/// What is wrong with a file of settings, as far as one can see without reading it.
FileDefect defectOf(const fs::path& file) {
  if (!isThere(file)) {
    return {FileDefect::missing, "is missing"};
  }
  if (!isFile(file)) {
    return {FileDefect::unreadable, "is no regular file"};
  }
  if (access(file.c_str(), R_OK) != 0) {
    return {FileDefect::unreadable, std::string("cannot be read: ") + std::strerror(errno)};
  }
  boost::system::error_code ignored;
  if (fs::is_empty(file, ignored)) {
    return {FileDefect::malformed, "is empty"};
  }
  return {};
}

std::string beginningOf(const fs::path& file) {
  std::string text(scannedBytes, '\0');
  fs::ifstream input(file, std::ios::binary);
  input.read(&text[0], static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(input.gcount()));
  return text;
}

/// The attribute values that follow each "name=". These are guesses: the reader decides which of
/// them are settings.
std::set<std::string> possibleSettings(const fs::path& file) {
  static const std::string attribute = "name=";
  const std::string text = beginningOf(file);
  std::set<std::string> names;
  for (std::size_t at = text.find(attribute); at != std::string::npos;
       at = text.find(attribute, at + 1)) {
    const std::size_t begin = at + attribute.size() + 1;
    if (begin >= text.size()) {
      break;
    }
    const std::size_t end = text.find(text[begin - 1], begin);
    if (end != std::string::npos && end - begin <= longestSettingName) {
      names.insert(text.substr(begin, end - begin));
    }
  }
  return names;
}

bool isKnown(const std::string& setting) {
  const auto& known = names::manifestSettings;
  return std::find(known.begin(), known.end(), setting) != known.end();
}

/// Whether one of the folders is this one, under any path.
bool holds(const std::vector<PackageFolder>& folders, const std::string& path) {
  return std::any_of(folders.begin(), folders.end(), [&](const PackageFolder& folder) {
    boost::system::error_code ignored;
    return folder.path == path || fs::equivalent(folder.path, path, ignored);
  });
}

class Surveyor {
 public:
  explicit Surveyor(const KQ::TextToSpeechEngine& engine) : reader(engine) {}

  PackageFolder folder(const std::string& path) const {
    PackageFolder result;
    result.path = path;
    result.exists = isThere(path);
    if (isThere(fs::path(path) / names::manifestFile)) {
      result.packages.push_back(package(path));
    } else if (result.exists) {
      for (const fs::path& entry : foldersIn(path, result.defect)) {
        result.packages.push_back(package(entry));
      }
    }
    return result;
  }

 private:
  SurveyedPackage package(const fs::path& path) const {
    SurveyedPackage package;
    const fs::path manifest = path / names::manifestFile;
    package.path = path.string();
    package.defect = defectOf(manifest);
    if (!package.defect) {
      readManifest(manifest, package);
    }
    std::string ignored;
    for (const fs::path& voice : foldersIn(path / names::voicesFolder, ignored)) {
      package.voices.push_back({voice.string(), voiceDefect(voice / names::voiceFile)});
    }
    return package;
  }

  void readManifest(const fs::path& manifest, SurveyedPackage& package) const {
    package.uuid = reader.getParamFromXml(names::uuid, manifest);
    package.version = reader.getParamFromXml(names::version, manifest);
    package.engine = reader.getParamFromXml(names::engine, manifest);
    package.language = reader.getParamFromXml(names::language, manifest);
    for (const std::string& name : possibleSettings(manifest)) {
      if (!isKnown(name) && !reader.getParamFromXml(name, manifest).empty()) {
        package.unknownSettings.push_back(name);
      }
    }
    const bool saysNothing = package.uuid.empty() && package.version.empty() &&
                             package.engine.empty() && package.language.empty() &&
                             package.unknownSettings.empty();
    if (saysNothing) {
      package.defect = {FileDefect::malformed, "is malformed, or holds no settings"};
    }
  }

  FileDefect voiceDefect(const fs::path& file) const {
    FileDefect defect = defectOf(file);
    if (defect || !reader.getVoiceNameFromXml(file).empty()) {
      return defect;
    }
    return {FileDefect::malformed, "is malformed, or has no setting \"sourceVoice\""};
  }

  const KQ::TextToSpeechEngine& reader;
};

}  // namespace

std::vector<SurveyedPackage> PackageSurvey::packages() const {
  std::vector<SurveyedPackage> all;
  for (const PackageFolder& folder : folders) {
    all.insert(all.end(), folder.packages.begin(), folder.packages.end());
  }
  return all;
}

PackageSurvey surveyPackages(const std::vector<std::string>& folders,
                             const KQ::TextToSpeechEngine& reader) {
  PackageSurvey survey;
  survey.installed = findPackages(folders, reader);
  std::set<std::string> installed;
  for (const zu::PackageInfo& package : survey.installed) {
    installed.insert(package.path);
  }
  const Surveyor surveyor(reader);
  for (const std::string& path : folders) {
    if (holds(survey.folders, path)) {
      continue;
    }
    PackageFolder folder = surveyor.folder(path);
    for (SurveyedPackage& package : folder.packages) {
      package.isInstalled = installed.count(package.path) != 0;
    }
    survey.folders.push_back(std::move(folder));
  }
  return survey;
}

}  // namespace tool
