#pragma once

#include <boost/shared_ptr.hpp>
#include <kqtts/export.hpp>
#include <map>
#include <string>

class TextToSpeechEngineCallbackInterface;

namespace KQ {

class TextToSpeechEngine;
class TTSLanguageInfo;

/// Turns the name of an engine plug-in into an engine that lives in a shared library, and later
/// gives it back and closes the library.
///
/// A plug-in is a shared library, found by the framework's library search as "kqtts/libkqtts-NAME"
/// or else as "kqtts/kqtts-NAME". It exports, with C names:
///
///     KQ::TextToSpeechEngine* load_plugin(TextToSpeechEngineCallbackInterface*,
///                                         boost::shared_ptr<KQ::TTSLanguageInfo>);
///     void unload_plugin(KQ::TextToSpeechEngine**);   // optional
///
/// `load_plugin` returns a new engine, or null when it has none to give; `unload_plugin` destroys
/// it and may null the pointer. It is built against the same Boost and the same version of this
/// library.
///
/// The engines belong to the caller; this object owns the open libraries alone. Calls on one
/// instance must be serialised by its owner.
class KQTTS_EXPORT TtsPluginManager {
 public:
  TtsPluginManager();
  /// Forgets everything that is still listed: no engine is destroyed and no library closed.
  ~TtsPluginManager();
  TtsPluginManager(const TtsPluginManager&) = delete;
  TtsPluginManager& operator=(const TtsPluginManager&) = delete;

  /// Opens the plug-in's library and lets it create an engine. Two loads of one name give two
  /// engines.
  ///
  /// \param name          the plug-in's, for example "nuance"
  /// \param callback      handed to the plug-in unchanged; may be null
  /// \param languageInfo  the shared language table; the plug-in gets a copy of the pointer
  /// \return the engine, or null on failure: one warning is logged, except that a plug-in that has
  ///         no engine to give is closed in silence. A library without `load_plugin` stays open.
  /// \throws whatever `load_plugin` throws; the library then stays open
  TextToSpeechEngine* load(const std::string& name, TextToSpeechEngineCallbackInterface* callback,
                           boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Gives an engine back to its plug-in, which destroys it if it exports `unload_plugin`, and
  /// closes the library. An engine that was not loaded here, or a null one, is ignored.
  ///
  /// \param engine  address of the caller's pointer, which the plug-in may set to null
  /// \throws whatever `unload_plugin` throws; nothing is closed or forgotten then
  void unload(TextToSpeechEngine** engine);

  /// Closes the library of an engine that is already gone, or is never used again. The engine is
  /// not touched. One that was not loaded here is ignored.
  void softUnload(TextToSpeechEngine* engine);

 protected:
  /// For each engine, the handle of the library that created it.
  std::map<TextToSpeechEngine*, void*> plugins;

 private:
  friend class EngineLibraries;

  /// Forgets an engine. \return its library's handle, still open, or null if it was not loaded here
  void* takeLibrary(TextToSpeechEngine* engine);
};

}  // namespace KQ
