// The entry points of an isolating plug-in. All are the same: which engine it isolates, it takes
// from the name of its file.

#include <dlfcn.h>

#include <boost/config.hpp>
#include <memory>
#include <string>

#include "isolation/host/environment.hpp"
#include "isolation/host/isolated_engine.hpp"

namespace {

using KQ::isolation::Breaker;
using KQ::isolation::HostSide;
using KQ::isolation::IsolatedEngine;

constexpr const char* childProgram = "kqtts-engine";

std::string ownFile() {
  Dl_info info{};
  return dladdr(reinterpret_cast<const void*>(&ownFile), &info) != 0 ? info.dli_fname : "";
}

std::string folderOf(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? "." : file.substr(0, slash);
}

/// "nuance" of ".../libkqtts-nuance.so".
std::string pluginOf(const std::string& file) {
  const std::string name = file.substr(file.rfind('/') + 1);
  const std::size_t begin = name.find('-') + 1;
  return name.substr(begin, name.rfind('.') - begin);
}

/// Deaths are remembered for as long as this library is open.
Breaker& breaker() {
  static Breaker breaker;
  return breaker;
}

/// Keeps this library open, and so the count of deaths: a host that reloads its engines must not
/// begin again to count.
void keepOpen() {
  dlopen(ownFile().c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

}  // namespace

extern "C" {

/// Tells an isolating plug-in from the one that it isolates.
BOOST_SYMBOL_EXPORT void kqtts_isolating_plugin() {}

BOOST_SYMBOL_EXPORT KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo) {
  const std::string file = ownFile();
  HostSide host;
  host.callback = callback;
  host.languages = std::move(languageInfo);
  host.plugin = pluginOf(file);
  host.program = folderOf(file) + "/" + childProgram;
  host.environment = KQ::isolation::childEnvironment();
  host.writableFolders = KQ::isolation::writableFolders();
  host.isSandboxed = KQ::isolation::isSandboxWanted();
  host.patience = KQ::isolation::patienceFromEnvironment();
  host.breaker = &breaker();
  host.onDeath = keepOpen;
  auto engine = std::make_unique<IsolatedEngine>(host);
  return engine->load() ? engine.release() : nullptr;
}

BOOST_SYMBOL_EXPORT void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
}
