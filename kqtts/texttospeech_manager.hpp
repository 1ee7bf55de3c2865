#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <kqtts/export.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace KQ {

class EngineLibraries;

/// All installed engines behind one engine: loads the plug-ins "aitalk", "nuance" and "log", and
/// routes each operation to the engine that serves the current language or the voice asked for.
///
/// Where several engines offer a language or a voice, the last one in the order of plug-in names
/// has it: "nuance" before "log" before "aitalk".
///
/// **Errors** are KQError with module "TextToSpeechManager" unless they come from the engine. An
/// operation on a language that no engine serves throws with method "xGetEngine" and description
/// "LANGUAGE is not currently supported or not installed.".
///
/// **Threads.** As for every engine. Starting, the parameter operations and the choice of language
/// or voice exclude one another for as long as they run; stop, pause, restart and all getters do
/// not wait for them. terminate() may run beside anything: an engine lives on for the calls that
/// still use it, and its library is closed when it is gone. Only if an operation ends with an
/// exception that may live in the plug-in's own library does that library stay open for the life of
/// the process.
///
/// **Events.** An event comes while its thread is inside startSynthetizer(). From there stop, pause,
/// restart and all getters but getParameter() work. What would wait for the utterance of its own
/// thread throws KQError instead: start, the parameter operations, the choice of language or voice,
/// and initialize(). Such an operation of another manager waits for a second at most.
///
/// **Fork.** In a process that was forked after initialize(), the engines cannot be used: operations
/// throw KQError, and terminate() and destruction leave the engines alone. After terminate() the
/// manager can be initialised anew.
class KQTTS_EXPORT TextToSpeechManager : public TextToSpeechEngine {
 public:
  /// Loads nothing yet; initialize() does.
  /// \param callback      handed to every engine; not owned, may be null
  /// \param languageInfo  handed to every engine
  TextToSpeechManager(TextToSpeechEngineCallbackInterface* callback,
                      boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Terminates first. An exception of an engine's shut-down ends the process.
  ~TextToSpeechManager() override;

  /// \name The registry of engines
  /// @{

  /// Loads one plug-in and initialises its engine, which replaces an earlier one of that name. The
  /// routing tables stay as they are.
  /// \return whether the engine is in the registry now
  /// \throws whatever the plug-in or its engine throws
  bool xLoadPlugin(const std::string& name, const std::vector<zu::PackageInfo>& packages,
                   boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Terminates one engine, drops it and closes its library once no call uses the engine any more.
  /// The routing tables stay as they are.
  /// \return whether there was an engine of that name
  /// \throws whatever the engine's terminate() throws; the engine is still in the registry then
  bool xUnloadPlugin(const std::string& name);

  /// @}
  /// \name Routing
  /// The pointer returned keeps the engine alive and its library open; hold it for one call only. If
  /// that call throws, hold it until the exception is gone, whose code may be in that library.
  /// @{

  /// The engine that serves a language.
  /// \throws KQError when there is none
  boost::shared_ptr<TextToSpeechEngine> xGetEngine(const std::string& language) const;

  /// The engine that serves the current language.
  /// \throws KQError when there is none
  boost::shared_ptr<TextToSpeechEngine> xGetRelevantEngine() const;

  /// As xGetEngine(), in other words: method "xGetDefaultVoiceForLanguage", description "No engine
  /// found for LANGUAGE language".
  boost::shared_ptr<TextToSpeechEngine> xGetRelevantEngine(const std::string& language) const;

  /// The language of a voice.
  /// \throws KQError when no engine offers the voice
  std::string getLanguage(const std::string& voice);

  /// @}
  /// \name Forwarded operations
  /// These go straight to the engine of the current language, whose own checks hold, and hide the
  /// operations of the same name that every engine has.
  /// @{

  /// Forwards to the engine.
  /// \throws KQError with method "pauseSynthetizer" when there is no current language
  void enableFilter(bool enable) override;
  /// \copydoc enableFilter
  void loadEffect(const std::string& file);
  /// \copydoc enableFilter
  void applyEffect(const std::string& effect, bool flag);

  /// Returns to the default voice of the current language.
  /// \throws KQError when no engine serves the current language
  void setDefaultVoice();
  /// Asks the engine of the language that `second` names, whatever the current one is.
  int testTextEncoding(const std::string& first, const std::string& second);
  /// Forwards to the engine.
  /// \throws KQError when no engine serves the current language
  void loadDictionary();
  /// \copydoc loadDictionary
  void unloadDictionary();
  /// \copydoc loadDictionary
  void showDictionary();
  /// \copydoc loadDictionary
  bool deleteFromDictionary(const std::string& first, const std::string& second);
  /// \copydoc loadDictionary
  bool addToDictionary(const std::string& first, const std::string& second,
                       const std::string& third, const std::string& fourth,
                       const std::string& fifth);

  /// @}

 protected:
  /// \name Hooks
  /// Those that act on an engine route to the one that serves the current language, and throw
  /// KQError with the description "You need to specify a language first." when there is none.
  /// @{

  std::string xGetName() const override;
  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override;
  bool xTerminate() override;
  void xStartSynthetizer(const std::string& text) override;
  void xStopSynthetizer() override;
  void xPauseSynthetizer() override;
  void xRestartSynthetizer() override;
  void xSetParameter(const std::string& name, const float& value) override;
  void xResetSpeed() override;
  float xGetParameter(const std::string& name) const override;
  void xSetCurrentLanguage(const std::string& language) override;
  void xSetCurrentVoice(const std::string& voice) override;
  std::vector<std::string> xGetOldLanguagesDetected() const override;
  std::map<std::string, std::string> xGetAllAvailableVoices() const override;
  std::map<std::string, std::string> xGetAvailableVoices() const override;
  std::vector<std::string> xGetAvailableLanguages() const override;
  std::vector<std::string> xGetAvailableParameters() const override;
  int xGetCurrentSamplingRate() const override;
  int xTestTextEncoding(const std::string& first, const std::string& second) override;
  std::string xGetVoiceInstallDir(const std::string& voice) const override;
  std::string xGetCurrentLanguage() const override;
  std::string xGetCurrentVoice() const override;
  std::string xGetDefaultVoiceForLanguage(const std::string& language) const override;

  /// @}
  /// \name Fields
  /// Their order is part of the binary interface.
  /// @{

  boost::shared_ptr<TTSLanguageInfo> sharedLanguageInfo;  ///< set at construction

  // Guarded by tablesMutex.
  std::string currentLanguage;  ///< that of the engine chosen last, or ""
  std::map<std::string, boost::shared_ptr<TextToSpeechEngine>> engines;  ///< by plug-in name
  std::map<std::string, std::string> languageEngines;  ///< language to plug-in name
  std::map<std::string, std::string> voiceLanguages;   ///< voice to language
  std::map<std::string, std::string>
      availableVoices;  ///< as the engines' getAvailableVoices() says

  mutable boost::mutex managerMutex;  ///< excludes operations; see the class's "Threads"
  TtsPluginManager pluginManager;     ///< reached through `libraries`, which serialises
  TextToSpeechEngineCallbackInterface* engineCallback;  ///< set at construction; not owned

  /// A leaf: guards the tables and currentLanguage, and is never held across a call into an engine.
  mutable boost::mutex tablesMutex;
  boost::shared_ptr<EngineLibraries> libraries;  ///< set at construction

  /// @}

 private:
  typedef std::vector<std::pair<std::string, boost::shared_ptr<TextToSpeechEngine>>> Registry;

  Registry registry() const;
  boost::shared_ptr<TextToSpeechEngine> registered(const std::string& name) const;
  std::optional<std::string> languageOf(const std::string& voice) const;

  /// These two are called with tablesMutex held; the second throws where the first gives null.
  boost::shared_ptr<TextToSpeechEngine> findEngine(const std::string& language) const;
  boost::shared_ptr<TextToSpeechEngine> engineOf(const std::string& language) const;

  /// The engine that serves a language, or null.
  boost::shared_ptr<TextToSpeechEngine> serving(const std::string& language) const;

  /// The engine of the current language; \throws KQError with this method text when there is none.
  boost::shared_ptr<TextToSpeechEngine> currentEngineFor(const char* method) const;

  template <typename Operation>
  auto routeExclusively(const char* method, Operation operation) const;

  /// In a process that was forked after the engines were loaded: drops them without touching them.
  void abandonEngines();

  void mergeTablesOf(const std::string& name, const boost::shared_ptr<TextToSpeechEngine>& engine);
  void adoptCurrentLanguageOf(const boost::shared_ptr<TextToSpeechEngine>& engine);
  void refuseIfOutdated(const std::string& language, const char* method) const;
};

}  // namespace KQ
