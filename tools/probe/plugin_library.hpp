#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

class TextToSpeechEngineCallbackInterface;

namespace KQ {
class TextToSpeechEngine;
class TTSLanguageInfo;
}  // namespace KQ

namespace tool {

/// The file of an engine plug-in: `written` itself if it holds a slash or ends with ".so", else the
/// plug-in of that name, found as the plug-in loader finds it.
/// \return its absolute path
/// \throws UsageError when there is no such regular file
std::string findPlugin(const std::string& written);

/// An open plug-in. It stays open unless it is closed.
class PluginLibrary {
 public:
  /// \throws Failure when the system cannot open it
  explicit PluginLibrary(const std::string& path);

  bool canLoad() const { return loadEntry != nullptr; }
  bool canUnload() const { return unloadEntry != nullptr; }

  /// Lets the plug-in create an engine. \return null when it gave none
  KQ::TextToSpeechEngine* createEngine(TextToSpeechEngineCallbackInterface* callback,
                                       const boost::shared_ptr<KQ::TTSLanguageInfo>& table) const;

  /// Lets the plug-in destroy an engine; needs canUnload().
  void destroyEngine(KQ::TextToSpeechEngine* engine) const;

  void close();

 private:
  void* handle;
  void* loadEntry;
  void* unloadEntry;
};

}  // namespace tool
