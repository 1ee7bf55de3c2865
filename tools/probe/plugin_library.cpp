#include "probe/plugin_library.hpp"

#include <boost/algorithm/string/predicate.hpp>
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
