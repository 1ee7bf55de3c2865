// The entry points of a faulty plug-in, for trying how a host bears the faults of engines. It wraps
// the plug-in of its name that comes after it in the search; KQTTS_FAULT says what goes wrong.

#include <dlfcn.h>
#include <stdlib.h>

#include <boost/config.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/shared_ptr.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <zu/log.hpp>
#include <zu/os.hpp>
#include <zu/path.hpp>

#include "isolation/fault/faulty_callback.hpp"
#include "isolation/fault/faulty_engine.hpp"

namespace {

namespace fs = boost::filesystem;
using KQ::TextToSpeechEngine;
using KQ::isolation::commit;
using KQ::isolation::Fault;
using KQ::isolation::FaultKind;
using KQ::isolation::FaultTrigger;
using KQ::isolation::FaultyCallback;
using KQ::isolation::FaultyEngine;
using Languages = boost::shared_ptr<KQ::TTSLanguageInfo>;

void warn(const std::string& message) {
  zu::log::write(zu::log::Level::warning, "engine.faulty", message, __FILE__, __func__, __LINE__);
}

fs::path ownFile() {
  Dl_info info{};
  return dladdr(reinterpret_cast<const void*>(&ownFile), &info) != 0 ? info.dli_fname : "";
}

bool isSpecial(void* library) {
  return zu::os::dlsym(library, "kqtts_isolating_plugin") != nullptr ||
         zu::os::dlsym(library, "kqtts_faulty_plugin") != nullptr;
}

/// The library of the next plug-in of this one's name that does an engine's work, or null.
void* nextPlugin() {
  const fs::path own = ownFile();
  for (const std::string& folder : zu::path::libDirs()) {
    const fs::path file = fs::path(folder) / "kqtts" / own.filename();
    boost::system::error_code error;
    if (!fs::is_regular_file(file, error) || fs::equivalent(file, own, error)) {
      continue;
    }
    void* const library = zu::os::dlopen(file.c_str(), -1);
    if (library != nullptr && !isSpecial(library)) {
      return library;
    }
    if (library != nullptr) {
      zu::os::dlclose(library);
    }
  }
  return nullptr;
}

/// What KQTTS_FAULT says. Without it, no place is ever due.
const FaultTrigger& trigger() {
  static const FaultTrigger theTrigger([] {
    const char* const text = secure_getenv("KQTTS_FAULT");
    return text == nullptr ? Fault{FaultKind::crash, "", 1, ""} : Fault::parse(text);
  }());
  return theTrigger;
}

void reach(const char* place) {
  if (trigger().reach(place)) {
    commit(trigger().kind());
  }
}

/// The engine of the next plug-in, which takes its library along when it goes; null where there is
/// none.
FaultyEngine::Pointer loadNext(TextToSpeechEngineCallbackInterface* callback,
                               const Languages& languages) {
  void* const library = nextPlugin();
  if (library == nullptr) {
    warn("There is no plug-in behind the faulty one.");
    return nullptr;
  }
  const auto load =
      reinterpret_cast<TextToSpeechEngine* (*)(TextToSpeechEngineCallbackInterface*, Languages)>(
          zu::os::dlsym(library, "load_plugin"));
  const auto unload =
      reinterpret_cast<void (*)(TextToSpeechEngine**)>(zu::os::dlsym(library, "unload_plugin"));
  return {load == nullptr ? nullptr : load(callback, languages),
          [library, unload](TextToSpeechEngine* engine) {
            if (unload != nullptr) {
              unload(&engine);
            } else {
              delete engine;
            }
            zu::os::dlclose(library);
          }};
}

}  // namespace

extern "C" {

/// Tells a faulty plug-in from the one that it wraps.
BOOST_SYMBOL_EXPORT void kqtts_faulty_plugin() {}

BOOST_SYMBOL_EXPORT TextToSpeechEngine* load_plugin(TextToSpeechEngineCallbackInterface* callback,
                                                    Languages languages) {
  try {
    trigger();
  } catch (const std::invalid_argument& mistake) {
    warn(std::string("KQTTS_FAULT: ") + mistake.what());
    return nullptr;
  }
  reach("load");
  auto faultyCallback = FaultyCallback::create(callback, trigger());
  auto engine = loadNext(faultyCallback.get(), languages);
  return engine == nullptr ? nullptr
                           : new FaultyEngine(callback, languages, std::move(faultyCallback),
                                              std::move(engine), trigger());
}

BOOST_SYMBOL_EXPORT void unload_plugin(TextToSpeechEngine** engine) {
  reach("unload");
  delete *engine;
  *engine = nullptr;
}
}
