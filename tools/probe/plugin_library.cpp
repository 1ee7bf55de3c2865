#include "probe/plugin_library.hpp"

#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <kqtts/plugin_names.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <zu/os.hpp>
#include <zu/path.hpp>

#include "system/failure.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

constexpr int defaultMode = -1;

using LoadPlugin = KQ::TextToSpeechEngine* (*)(TextToSpeechEngineCallbackInterface*,
                                               boost::shared_ptr<KQ::TTSLanguageInfo>);
using UnloadPlugin = void (*)(KQ::TextToSpeechEngine**);

constexpr const char* pluginFolder = "kqtts";

bool isEngineName(const std::string& file) {
  using boost::algorithm::starts_with;
  return boost::algorithm::ends_with(file, ".so") &&
         (starts_with(file, "libkqtts-") || starts_with(file, "kqtts-"));
}

bool isLoaded(const std::string& file) {
  const std::vector<std::string> names = loadedFileNames();
  return std::find(names.begin(), names.end(), file) != names.end();
}

}  // namespace

std::string findLibraryOf(const std::string& plugin) {
  for (const std::string& name : KQ::plugin_names::librariesOf(plugin)) {
    std::string path = zu::path::findLib(name);
    if (!path.empty()) {
      return path;
    }
  }
  return "";
}

std::string findPlugin(const std::string& written) {
  const bool isFile =
      written.find('/') != std::string::npos || boost::algorithm::ends_with(written, ".so");
  const fs::path path = isFile ? written : findLibraryOf(written);
  boost::system::error_code error;
  if (path.empty() || !fs::is_regular_file(path, error)) {
    throw UsageError("there is no engine plug-in '" + written + "'",
                     "name its file, or a plug-in that stands in a folder of --engines");
  }
  return fs::absolute(path).string();
}

std::vector<std::string> loadedFileNames() {
  std::vector<std::string> first;
  std::vector<std::string> second;
  for (const char* plugin : KQ::plugin_names::all) {
    const auto names = KQ::plugin_names::librariesOf(plugin);
    first.push_back(fs::path(names.front()).filename().string() + ".so");
    second.push_back(fs::path(names.back()).filename().string() + ".so");
  }
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::vector<std::string> findUnloadedLibraries() {
  std::vector<std::string> found;
  for (const std::string& directory : zu::path::libDirs()) {
    boost::system::error_code error;
    fs::directory_iterator entry(fs::path(directory) / pluginFolder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      const std::string name = entry->path().filename().string();
      if (isEngineName(name) && !isLoaded(name)) {
        found.push_back(entry->path().string());
      }
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::vector<std::string> notesOnFileName(const std::string& path) {
  const std::string name = fs::path(path).filename().string();
  if (!isLoaded(name)) {
    return {"no host loads a plug-in called " + name + ": hosts load " +
            boost::algorithm::join(loadedFileNames(), ", ") +
            "; give it one of these names, in a folder of its own, DIR/kqtts, and name DIR in "
            "ZU_LIBRARY_PATH"};
  }
  for (const std::string& directory : zu::path::libDirs()) {
    const fs::path installed = fs::path(directory) / pluginFolder / name;
    boost::system::error_code ignored;
    if (fs::exists(installed, ignored) && !fs::equivalent(installed, path, ignored)) {
      return {"in the folder of " + installed.string() +
              " it would overwrite that engine: install it in a folder of its own, DIR/kqtts, and "
              "name DIR in ZU_LIBRARY_PATH"};
    }
  }
  return {};
}

PluginLibrary::PluginLibrary(const std::string& path)
    : handle(zu::os::dlopen(path.c_str(), defaultMode)) {
  if (handle == nullptr) {
    loadingError = zu::os::dlerror();
    return;
  }
  loadEntry = zu::os::dlsym(handle, "load_plugin");
  unloadEntry = zu::os::dlsym(handle, "unload_plugin");
}

KQ::TextToSpeechEngine* PluginLibrary::createEngine(
    TextToSpeechEngineCallbackInterface* callback,
    const boost::shared_ptr<KQ::TTSLanguageInfo>& table) const {
  return reinterpret_cast<LoadPlugin>(loadEntry)(callback, table);
}

void PluginLibrary::destroyEngine(KQ::TextToSpeechEngine* engine) const {
  reinterpret_cast<UnloadPlugin>(unloadEntry)(&engine);
}

void PluginLibrary::close() {
  zu::os::dlclose(handle);
}

}  // namespace tool
