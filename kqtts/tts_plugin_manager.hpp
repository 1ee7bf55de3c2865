#pragma once

#include <boost/shared_ptr.hpp>
#include <kqtts/export.hpp>
#include <map>
#include <string>

class TextToSpeechEngineCallbackInterface;

namespace KQ {

class TextToSpeechEngine;
class TTSLanguageInfo;

/// Loads engine plug-ins by name, and later returns each engine to its plug-in and closes the
/// plug-in's library.
///
/// A plug-in is a shared library. The framework's library search looks for "kqtts/libkqtts-NAME"
/// and then for "kqtts/kqtts-NAME". The library exports, with C names:
///
///     KQ::TextToSpeechEngine* load_plugin(TextToSpeechEngineCallbackInterface*,
///                                         boost::shared_ptr<KQ::TTSLanguageInfo>);
///     void unload_plugin(KQ::TextToSpeechEngine**);   // optional
///
/// `load_plugin` returns a new engine, or null if it cannot make one. `unload_plugin` destroys the
/// engine and may set the pointer to null. A plug-in must be built against the same Boost and the
/// same version of this library.
///
/// The caller owns the engines; this object owns only the open libraries. The caller must serialise
/// all calls on one instance.
class KQTTS_EXPORT TtsPluginManager {
 public:
  TtsPluginManager();
  /// Destroys no engine and closes no library.
  ~TtsPluginManager();
  TtsPluginManager(const TtsPluginManager&) = delete;
  TtsPluginManager& operator=(const TtsPluginManager&) = delete;

  /// Opens the plug-in's library and calls its `load_plugin`. Two loads of one name give two
  /// engines.
  ///
  /// \param name          name of the plug-in, for example "nuance"
  /// \param callback      passed to the plug-in unchanged; may be null
  /// \param languageInfo  the shared language table; the plug-in receives a copy of the pointer
  /// \return the engine, or null on failure. A failure logs one warning, with one exception: if
  ///         `load_plugin` returns null, the library is closed and nothing is logged. A library
  ///         without `load_plugin` stays open.
  /// \throws whatever `load_plugin` throws; the library then stays open
  TextToSpeechEngine* load(const std::string& name, TextToSpeechEngineCallbackInterface* callback,
                           boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Returns an engine to its plug-in, which destroys it if it exports `unload_plugin`, and closes
  /// the library. Ignores null, and an engine that this object did not load.
  ///
  /// \param engine  address of the caller's pointer, which the plug-in may set to null
  /// \throws whatever `unload_plugin` throws; the library then stays open and listed
  void unload(TextToSpeechEngine** engine);

  /// Closes the library of an engine that is destroyed already or will never be used again. Does
  /// not access the engine. Ignores an engine that this object did not load.
  void softUnload(TextToSpeechEngine* engine);

 protected:
  /// For each engine, the handle of the library that created it.
  std::map<TextToSpeechEngine*, void*> plugins;

 private:
  friend class EngineLibraries;

  /// Removes an engine from the list.
  /// \return the handle of its library, still open, or null if the engine was not loaded here
  void* takeLibrary(TextToSpeechEngine* engine);
};

}  // namespace KQ
