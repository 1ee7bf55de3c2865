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

/// The libraries of one manager's engines. Serialises the plug-in manager, and sees to it that a
/// library is closed after its engine is gone, whichever thread drops the engine last, and never
/// while an exception that lives in it may still be in flight.
///
/// Held by the manager and by each engine that own() handed out, so that an engine may outlive the
/// manager.
class EngineLibraries : public boost::enable_shared_from_this<EngineLibraries> {
 public:
  explicit EngineLibraries(TtsPluginManager& pluginManager);

  /// The plug-in manager's load() and unload().
  TextToSpeechEngine* load(const std::string& name, TextToSpeechEngineCallbackInterface* callback,
                           const boost::shared_ptr<TTSLanguageInfo>& languageInfo);
  void unload(TextToSpeechEngine** engine);

  /// Takes an engine of load() into shared ownership. Its library stays open until the engine was
  /// given to retire() and the last owner has dropped it.
  boost::shared_ptr<TextToSpeechEngine> own(std::unique_ptr<TextToSpeechEngine> engine);

  /// Drops an engine for good, so that its library is closed: now, or by the last call that uses
  /// it.
  void retire(boost::shared_ptr<TextToSpeechEngine> engine);

  /// The plug-in manager is about to go; no library is closed from now on.
  void detach();

  /// Whether the engines were loaded before this process was forked. They are useless here: their
  /// threads are not in this process, and their locks may be held for ever.
  bool areOfParent() const;

  /// In a handler of an exception that `engine` threw: keeps the engine's library open for ever if
  /// the exception's type may be the library's own, since nobody can tell when its last copy is
  /// gone.
  static void keepOpenForException(const boost::shared_ptr<TextToSpeechEngine>& engine);

 private:
  struct Deleter;

  void* takeLibrary(TextToSpeechEngine* engine);

  // Recursive: a plug-in's code runs in load() and unload(), and may come back to its manager.
  boost::recursive_mutex mutex;
  TtsPluginManager* pluginManager;         ///< guarded by mutex; null once detached
  std::atomic<std::uint64_t> loadedAt{0};  ///< fork generation of the last load(); 0 before
};

}  // namespace KQ
