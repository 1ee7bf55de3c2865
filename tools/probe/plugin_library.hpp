#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

class TextToSpeechEngineCallbackInterface;

namespace KQ {
class TextToSpeechEngine;
class TTSLanguageInfo;
}  // namespace KQ

namespace tool {

/// The library that the plug-in loader opens for a plug-in's name, or "" if there is none.
std::string findLibraryOf(const std::string& plugin);

/// The file of an engine plug-in: `written` itself if it holds a slash or ends with ".so", else the
/// library of the plug-in of that name.
/// \return its absolute path
/// \throws UsageError if there is no such regular file
std::string findPlugin(const std::string& written);

/// The file names that hosts load, the one that is looked for first at the front.
std::vector<std::string> loadedFileNames();

/// The engine libraries (libkqtts-NAME.so, kqtts-NAME.so) in the searched folders whose names no
/// host loads.
std::vector<std::string> findUnloadedLibraries();

/// What the author of a plug-in should know of its file name: that no host loads it, or that it
/// would overwrite the library of an installed engine.
std::vector<std::string> notesOnFileName(const std::string& path);

/// A plug-in whose library was opened. The library stays open until close() is called.
class PluginLibrary {
 public:
  explicit PluginLibrary(const std::string& path);

  bool isOpen() const { return handle != nullptr; }
  /// Why the system could not open the library; "" if it could.
  const std::string& error() const { return loadingError; }

  bool canLoad() const { return loadEntry != nullptr; }
  bool canUnload() const { return unloadEntry != nullptr; }

  /// Calls load_plugin(); needs canLoad(). \return null if the plug-in returned none
  KQ::TextToSpeechEngine* createEngine(TextToSpeechEngineCallbackInterface* callback,
                                       const boost::shared_ptr<KQ::TTSLanguageInfo>& table) const;

  /// Calls unload_plugin(); needs canUnload().
  void destroyEngine(KQ::TextToSpeechEngine* engine) const;

  void close();

 private:
  void* handle;
  std::string loadingError;
  void* loadEntry = nullptr;
  void* unloadEntry = nullptr;
};

}  // namespace tool
