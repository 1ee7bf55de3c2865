#include "engine_libraries.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <boost/thread/lock_types.hpp>
#include <kq/error.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <new>
#include <stdexcept>
#include <typeinfo>
#include <utility>
#include <zu/os.hpp>

#include "fork_generation.hpp"
#include "shared_flag.hpp"

namespace KQ {

namespace {

using Lock = boost::unique_lock<boost::recursive_mutex>;

/// Whether the code and data of the current exception's type are outside every plug-in. Only exact
/// types count: a derived type may be the plug-in's.
bool exceptionOutlivesPlugins() {
  static const std::type_info* const types[] = {
      &typeid(KQError),           &typeid(std::runtime_error), &typeid(std::logic_error),
      &typeid(std::bad_alloc),    &typeid(std::out_of_range),  &typeid(std::invalid_argument),
      &typeid(std::length_error), &typeid(std::domain_error),  &typeid(std::range_error),
  };
  // Compares addresses: a plug-in with its own standard library has types of the same names.
  return std::find(std::begin(types), std::end(types), abi::__cxa_current_exception_type()) !=
         std::end(types);
}

}  // namespace

/// Deletes an engine, then closes its library if the engine was retired and nothing keeps it open.
struct EngineLibraries::Deleter {
  boost::shared_ptr<EngineLibraries> libraries;
  bool retired = false;
  bool keptOpen = false;

  void operator()(TextToSpeechEngine* engine) {
    // Before the engine is deleted: another one may be loaded at its address afterwards.
    void* const library =
        readFlag(retired) && !readFlag(keptOpen) ? libraries->takeLibrary(engine) : nullptr;
    delete engine;
    if (library != nullptr) {
      zu::os::dlclose(library);
    }
  }
};

EngineLibraries::EngineLibraries(TtsPluginManager& pluginManager) : pluginManager(&pluginManager) {}

TextToSpeechEngine* EngineLibraries::load(const std::string& name,
                                          TextToSpeechEngineCallbackInterface* callback,
                                          const boost::shared_ptr<TTSLanguageInfo>& languageInfo) {
  loadedAt = forkGeneration();
  const Lock lock(mutex);
  return pluginManager->load(name, callback, languageInfo);
}

void EngineLibraries::unload(TextToSpeechEngine** engine) {
  const Lock lock(mutex);
  pluginManager->unload(engine);
}

boost::shared_ptr<TextToSpeechEngine> EngineLibraries::own(
    std::unique_ptr<TextToSpeechEngine> engine) {
  return {engine.release(), Deleter{shared_from_this()}};
}

void EngineLibraries::retire(boost::shared_ptr<TextToSpeechEngine> engine) {
  if (auto* const deleter = boost::get_deleter<Deleter>(engine)) {
    writeFlag(deleter->retired, true);
    return;
  }
  // The engine is not from own(), so nobody reports when another owner drops it. Its library stays
  // open if there is another owner.
  TextToSpeechEngine* const key = engine.get();
  const bool isLastOwner = engine.use_count() == 1;
  engine.reset();
  if (isLastOwner) {
    const Lock lock(mutex);
    pluginManager->softUnload(key);
  }
}

void EngineLibraries::detach() {
  const Lock lock(mutex);
  pluginManager = nullptr;
}

bool EngineLibraries::areOfParent() const {
  const std::uint64_t generation = loadedAt.load(std::memory_order_relaxed);
  return generation != 0 && generation != forkGeneration();
}

void EngineLibraries::keepOpenForException(const boost::shared_ptr<TextToSpeechEngine>& engine) {
  auto* const deleter = boost::get_deleter<Deleter>(engine);
  if (deleter != nullptr && !exceptionOutlivesPlugins()) {
    writeFlag(deleter->keptOpen, true);
  }
}

void* EngineLibraries::takeLibrary(TextToSpeechEngine* engine) {
  const Lock lock(mutex);
  return pluginManager != nullptr ? pluginManager->takeLibrary(engine) : nullptr;
}

}  // namespace KQ
