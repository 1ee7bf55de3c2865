#include <boost/format.hpp>
#include <kqtts/plugin_names.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <utility>
#include <zu/os.hpp>
#include <zu/path.hpp>

#include "log_sites.hpp"

namespace KQ {

namespace {

using LoadPlugin = TextToSpeechEngine* (*)(TextToSpeechEngineCallbackInterface*,
                                           boost::shared_ptr<TTSLanguageInfo>);
using UnloadPlugin = void (*)(TextToSpeechEngine**);

constexpr int defaultMode = -1;

std::string findPlugin(const std::string& name) {
  for (const std::string& library : plugin_names::librariesOf(name)) {
    std::string path = zu::path::findLib(library);
    if (!path.empty()) {
      return path;
    }
  }
  return "";
}

}  // namespace

TtsPluginManager::TtsPluginManager() = default;

TtsPluginManager::~TtsPluginManager() = default;

TextToSpeechEngine* TtsPluginManager::load(const std::string& name,
                                           TextToSpeechEngineCallbackInterface* callback,
                                           boost::shared_ptr<TTSLanguageInfo> languageInfo) {
  const std::string path = findPlugin(name);
  if (path.empty()) {
    log(sites::pluginNotFound, (boost::format("Could not find plugin: %s") % name).str());
    return nullptr;
  }
  void* const library = zu::os::dlopen(path.c_str(), defaultMode);
  if (library == nullptr) {
    log(sites::libraryNotLoaded, std::string("Could not load library:") + zu::os::dlerror());
    return nullptr;
  }
  const auto entry = reinterpret_cast<LoadPlugin>(zu::os::dlsym(library, "load_plugin"));
  if (entry == nullptr) {
    // The library stays open, because code that it started when it was loaded may still run.
    log(sites::entryPointMissing, "Could not find the load_plugin method in plugin\n");
    return nullptr;
  }
  TextToSpeechEngine* const engine = entry(callback, std::move(languageInfo));
  if (engine == nullptr) {
    zu::os::dlclose(library);
    return nullptr;
  }
  plugins[engine] = library;
  return engine;
}

void TtsPluginManager::unload(TextToSpeechEngine** engine) {
  const auto entry = engine != nullptr ? plugins.find(*engine) : plugins.end();
  if (entry == plugins.end()) {
    return;
  }
  void* const library = entry->second;
  const auto unloader = reinterpret_cast<UnloadPlugin>(zu::os::dlsym(library, "unload_plugin"));
  if (unloader != nullptr) {
    unloader(engine);
  }
  zu::os::dlclose(library);
  plugins.erase(entry);
}

void TtsPluginManager::softUnload(TextToSpeechEngine* engine) {
  if (void* const library = takeLibrary(engine)) {
    zu::os::dlclose(library);
  }
}

void* TtsPluginManager::takeLibrary(TextToSpeechEngine* engine) {
  const auto entry = plugins.find(engine);
  if (entry == plugins.end()) {
    return nullptr;
  }
  void* const library = entry->second;
  plugins.erase(entry);
  return library;
}

}  // namespace KQ
