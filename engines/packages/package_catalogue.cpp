#include "packages/package_catalogue.hpp"

#include <algorithm>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <charconv>
#include <kqtts/package_names.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_preference.hpp>
#include <set>

#include "engine/warning.hpp"

namespace KQ::engines {

namespace fs = boost::filesystem;

namespace {

using Version = std::vector<unsigned>;

/// Reads numbers separated by dots, up to the first character that fits neither. Trailing zeros do
/// not count: "1.0-2" is "1".
Version parseVersion(const std::string& text) {
  Version version;
  const char* position = text.data();
  const char* const end = position + text.size();
  for (unsigned number = 0;; ++position) {
    const auto parsed = std::from_chars(position, end, number);
    if (parsed.ec != std::errc()) {
      break;
    }
    version.push_back(number);
    position = parsed.ptr;
    if (position == end || *position != '.') {
      break;
    }
  }
  while (!version.empty() && version.back() == 0) {
    version.pop_back();
  }
  return version;
}

/// Whether `text` states a version below `minimum`. An empty one states nothing.
bool isBelow(const std::string& text, const std::string& minimum) {
  return !text.empty() && parseVersion(text) < parseVersion(minimum);
}

std::vector<fs::path> foldersIn(const fs::path& directory) {
  std::vector<fs::path> folders;
  boost::system::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    boost::system::error_code ignored;
    if (fs::is_directory(entry->path(), ignored)) {
      folders.push_back(entry->path());
    }
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

/// Whether the file of settings is too large to be one. It would hold up every start.
bool isTooLarge(const fs::path& file, const std::string& logCategory) {
  constexpr std::uintmax_t longest = std::uintmax_t{1} << 20U;
  boost::system::error_code error;
  const std::uintmax_t size = fs::file_size(file, error);
  if (error || size <= longest) {
    return false;
  }
  warn(logCategory, file.string() + ": larger than 1 MiB, ignored");
  return true;
}

VoiceTuning readTuning(const fs::path& directory, const std::string& logCategory) {
  try {
    fs::path file = xRetrieveVoiceSettingsFile(directory.filename().string(), directory);
    if (isTooLarge(file, logCategory)) {
      return {};
    }
    return tuningOf(makeVoiceSettingFromXml(file), [&](const std::string& complaint) {
      warn(logCategory, directory.string() + ": " + complaint + ", ignored");
    });
  } catch (const fs::filesystem_error& error) {
    warn(logCategory, error.what());
    return {};
  }
}

}  // namespace

/// A package of the engine, as read.
struct PackageCatalogue::Package {
  std::string uuid, language, defaultVoice;
  fs::path path;
  bool outdated = false;
  std::map<std::string, PackagedVoice> voices;

  Package(const TextToSpeechEngine& reader, const zu::PackageInfo& info, const PackageRules& rules)
      : path(info.path) {
    const fs::path manifest = path / package_names::manifestFile;
    if (info.path.empty() || isTooLarge(manifest, rules.logCategory) ||
        reader.getParamFromXml(package_names::engine, manifest) != rules.engine) {
      return;
    }
    uuid = reader.getParamFromXml(package_names::uuid, manifest);
    language = reader.getParamFromXml(package_names::language, manifest);
    defaultVoice = reader.getParamFromXml(package_names::defaultVoice, manifest);
    const std::string version = reader.getParamFromXml(package_names::version, manifest);
    if (language.empty() || version.empty()) {
      warn(rules.logCategory, manifest.string() + ": no language or no version, package ignored");
      return;
    }
    outdated =
        isBelow(version, rules.minimumVersion) || isBelow(info.version, rules.minimumVersion);
    readVoices(reader, rules);
    if (voices.empty()) {
      warn(rules.logCategory, path.string() + ": no usable voice, package ignored");
    }
  }

  bool usable() const { return !voices.empty(); }

 private:
  void readVoices(const TextToSpeechEngine& reader, const PackageRules& rules) {
    for (const fs::path& directory : foldersIn(path / package_names::voicesFolder)) {
      const fs::path file = directory / package_names::voiceFile;
      if (isTooLarge(file, rules.logCategory)) {
        continue;
      }
      const std::string source = reader.getVoiceNameFromXml(file);
      if (source.empty() || !rules.hasVoice(source)) {
        warn(rules.logCategory, directory.string() + ": the synthesiser has no voice \"" + source +
                                    "\", voice ignored");
        continue;
      }
      voices[directory.filename().string()] = {language, source, directory,
                                               readTuning(directory, rules.logCategory)};
    }
  }
};

PackageCatalogue::PackageCatalogue(const TextToSpeechEngine& reader,
                                   const std::vector<zu::PackageInfo>& infos,
                                   const PackageRules& rules) {
  std::vector<Package> packages;
  std::set<std::string> uuids;
  std::set<std::string> currentLanguages;
  for (const zu::PackageInfo& info : infos) {
    Package package(reader, info, rules);
    if (!package.usable() || (!package.uuid.empty() && !uuids.insert(package.uuid).second)) {
      continue;
    }
    if (!package.outdated) {
      currentLanguages.insert(package.language);
    }
    packages.push_back(std::move(package));
  }
  for (const Package& package : packages) {
    if (package.outdated && currentLanguages.count(package.language) != 0) {
      warn(rules.logCategory, package.path.string() + ": outdated, package ignored");
    } else {
      add(package, rules);
    }
  }
}

void PackageCatalogue::add(const Package& package, const PackageRules& rules) {
  std::vector<std::string> added;
  for (const auto& [name, voice] : package.voices) {
    if (voicesByName.emplace(name, voice).second) {
      added.push_back(name);
    } else {
      warn(rules.logCategory,
           voice.directory.string() + ": there is a voice of this name already, voice ignored");
    }
  }
  if (added.empty() || defaultVoices.count(package.language) != 0) {
    return;
  }
  const auto wanted = std::find(added.begin(), added.end(), package.defaultVoice);
  defaultVoices[package.language] = wanted == added.end() ? added.front() : *wanted;
  languageNames.push_back(package.language);
  if (package.outdated) {
    outdatedNames.push_back(package.language);
  }
}

const PackagedVoice* PackageCatalogue::voice(const std::string& name) const {
  const auto found = voicesByName.find(name);
  return found == voicesByName.end() ? nullptr : &found->second;
}

std::string PackageCatalogue::defaultVoice(const std::string& language) const {
  const auto found = defaultVoices.find(language);
  return found == defaultVoices.end() ? std::string() : found->second;
}

}  // namespace KQ::engines
