#pragma once

#include <atomic>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <cstdint>
#include <memory>
#include <string>

class TextToSpeechEngineCallbackInterface;

namespace KQ {

class TextToSpeechEngine;
class TTSLanguageInfo;
class TtsPluginManager;

/// Opens and closes the libraries of one manager's engines. It serialises the calls of the plug-in
/// manager. It closes a library after its engine is destroyed, whichever thread drops the engine
/// last, but never while an exception whose code may be in the library is in flight.
///
/// The manager and each engine of own() share this object, so an engine may outlive the manager.
class EngineLibraries : public boost::enable_shared_from_this<EngineLibraries> {
 public:
  explicit EngineLibraries(TtsPluginManager& pluginManager);

  /// Calls the plug-in manager's load() or unload() under the lock.
  TextToSpeechEngine* load(const std::string& name, TextToSpeechEngineCallbackInterface* callback,
                           const boost::shared_ptr<TTSLanguageInfo>& languageInfo);
  void unload(TextToSpeechEngine** engine);

  /// Makes a shared pointer of an engine of load(). Its library stays open until retire() was
  /// called with the engine and the last owner has dropped it.
  boost::shared_ptr<TextToSpeechEngine> own(std::unique_ptr<TextToSpeechEngine> engine);

  /// Drops an engine that is not used for new calls any more. Its library is closed now, or when
  /// the last call that uses it returns.
  void retire(boost::shared_ptr<TextToSpeechEngine> engine);

  /// Call this before the plug-in manager is destroyed. No library is closed from then on.
  void detach();

  /// Whether the engines were loaded before this process was forked. They are useless here: their
  /// threads are not in this process, and their locks may be held for ever.
  bool areOfParent() const;

  /// Call this in the handler of an exception that `engine` threw. If the exception's type may be
  /// defined in the engine's library, the library stays open for ever: there is no way to know when
  /// the exception's last copy is destroyed.
  static void keepOpenForException(const boost::shared_ptr<TextToSpeechEngine>& engine);

 private:
  struct Deleter;

  void* takeLibrary(TextToSpeechEngine* engine);

  // Recursive, because load() and unload() run code of the plug-in, which may call its manager.
  boost::recursive_mutex mutex;
  TtsPluginManager* pluginManager;         ///< guarded by mutex; null once detached
  std::atomic<std::uint64_t> loadedAt{0};  ///< fork generation of the last load(); 0 before
};

}  // namespace KQ
