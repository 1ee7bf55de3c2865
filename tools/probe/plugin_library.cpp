#include "probe/plugin_library.hpp"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <zu/os.hpp>
#include <zu/path.hpp>

#include "system/failure.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

using LoadPlugin = KQ::TextToSpeechEngine* (*)(TextToSpeechEngineCallbackInterface*,
                                               boost::shared_ptr<KQ::TTSLanguageInfo>);
using UnloadPlugin = void (*)(KQ::TextToSpeechEngine**);

std::string findByName(const std::string& name) {
  const std::string path = zu::path::findLib("kqtts/libkqtts-" + name);
  return path.empty() ? zu::path::findLib("kqtts/kqtts-" + name) : path;
}

}  // namespace

std::string findPlugin(const std::string& written) {
  const bool isFile =
      written.find('/') != std::string::npos || boost::algorithm::ends_with(written, ".so");
  const fs::path path = isFile ? written : findByName(written);
  boost::system::error_code error;
  if (path.empty() || !fs::is_regular_file(path, error)) {
    throw UsageError("there is no engine plug-in '" + written + "'",
                     "name its file, or a plug-in that stands in a folder of --engines");
  }
  return fs::absolute(path).string();
}

PluginLibrary::PluginLibrary(const std::string& path)
    : handle(zu::os::dlopen(path.c_str(), -1)), loadEntry(nullptr), unloadEntry(nullptr) {
  if (handle == nullptr) {
    throw Failure(std::string("the library cannot be opened: ") + zu::os::dlerror(),
                  "see whether it is a shared library whose own libraries are all there");
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
