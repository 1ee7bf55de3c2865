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

/// One engine that serves all installed engines. It loads the plug-ins "aitalk", "nuance" and
/// "log", and routes each operation to the engine that serves the current language or the given
/// voice.
///
/// If several engines offer a language or a voice, the one whose plug-in name comes last serves it:
/// "nuance" wins over "log", and "log" over "aitalk".
///
/// **Voices.** getAllAvailableVoices() returns the voices of all engines. getAvailableVoices()
/// returns the voices that each engine offered for the language it had when the manager was
/// initialised; it does not follow the manager's current language. Neither changes until the next
/// initialize().
///
/// **Errors** are KQError with module "TextToSpeechManager" unless they come from the engine. An
/// operation on a language that no engine serves throws with method "xGetEngine" and description
/// "LANGUAGE is not currently supported or not installed.".
///
/// **Threads.** As for every engine. In addition, starting, the parameter operations and the
/// selection of a language or voice exclude each other; stop, pause, restart and all getters do not
/// wait for them. terminate() may run at the same time as any other call: an engine stays alive
/// until the last call that uses it returns, and its library is closed after that. A library stays
/// open until the process ends if an operation threw an exception whose code may be in it.
///
/// **Events.** During an event, its thread is inside startSynthetizer(). An event may call stop,
/// pause, restart and all getters but getParameter(). Operations that would wait for the utterance
/// of their own thread throw KQError: start, the parameter operations, the selection of a language
/// or voice, and initialize(). Such an operation of another manager waits for a second at most.
///
/// **Fork.** In a process that was forked after initialize(), the engines cannot be used:
/// operations throw KQError, and terminate() and destruction do not touch the engines. After
/// terminate() the manager can be initialised again.
class KQTTS_EXPORT TextToSpeechManager : public TextToSpeechEngine {
 public:
  /// Loads no plug-in; initialize() does.
  /// \param callback      passed to every engine; not owned, may be null
  /// \param languageInfo  passed to every engine
  TextToSpeechManager(TextToSpeechEngineCallbackInterface* callback,
                      boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Calls terminate(). If an engine's shut-down throws, the process ends.
  ~TextToSpeechManager() override;

  /// \name The registry of engines
  /// @{

  /// Loads one plug-in and initialises its engine. It replaces an earlier engine of that name. The
  /// routing tables do not change.
  /// \return whether the engine is in the registry now
  /// \throws whatever the plug-in or its engine throws
  bool xLoadPlugin(const std::string& name, const std::vector<zu::PackageInfo>& packages,
                   boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Terminates one engine and removes it from the registry. Its library is closed when no call
  /// uses the engine any more. The routing tables do not change.
  /// \return whether there was an engine of that name
  /// \throws whatever the engine's terminate() throws; the engine then stays in the registry
  bool xUnloadPlugin(const std::string& name);

  /// @}
  /// \name Routing
  /// The returned pointer keeps the engine alive and its library open. Hold it for one call only.
  /// If that call throws, hold it until the exception is destroyed: its code may be in the library.
  /// @{

  /// The engine that serves a language.
  /// \throws KQError if there is none
  boost::shared_ptr<TextToSpeechEngine> xGetEngine(const std::string& language) const;

  /// The engine that serves the current language.
  /// \throws KQError if there is none
  boost::shared_ptr<TextToSpeechEngine> xGetRelevantEngine() const;

  /// Like xGetEngine(), with another error: method "xGetDefaultVoiceForLanguage", description "No
  /// engine found for LANGUAGE language".
  boost::shared_ptr<TextToSpeechEngine> xGetRelevantEngine(const std::string& language) const;

  /// The language of a voice.
  /// \throws KQError if no engine offers the voice
  std::string getLanguage(const std::string& voice);

  /// @}
  /// \name Forwarded operations
  /// These call the engine of the current language directly, and that engine checks whether it is
  /// active. They hide the operations of the same name in the base class.
  /// @{

  /// Forwards to the engine.
  /// \throws KQError with method "pauseSynthetizer" if there is no current language
  void enableFilter(bool enable) override;
  /// \copydoc enableFilter
  void loadEffect(const std::string& file);
  /// \copydoc enableFilter
  void applyEffect(const std::string& effect, bool flag);

  /// Selects the default voice of the current language.
  /// \throws KQError if no engine serves the current language
  void setDefaultVoice();
  /// Asks the engine that serves the language `second`, whatever the current language is.
  int testTextEncoding(const std::string& first, const std::string& second);
  /// Forwards to the engine.
  /// \throws KQError if no engine serves the current language
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
  /// A hook that needs an engine calls the one that serves the current language. If there is no
  /// current language, it throws KQError with the description "You need to specify a language
  /// first.".
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
  std::string currentLanguage;  ///< the current language of the engine selected last, or ""
  std::map<std::string, boost::shared_ptr<TextToSpeechEngine>> engines;  ///< by plug-in name
  std::map<std::string, std::string> languageEngines;  ///< language to plug-in name
  std::map<std::string, std::string> voiceLanguages;   ///< voice to language
  std::map<std::string, std::string>
      availableVoices;  ///< each engine's getAvailableVoices(), taken at initialize()

  mutable boost::mutex managerMutex;  ///< serialises operations; see the class's "Threads"
  TtsPluginManager pluginManager;     ///< call it through `libraries`, which serialises the calls
  TextToSpeechEngineCallbackInterface* engineCallback;  ///< set at construction; not owned

  /// Guards the tables and currentLanguage. Never held while an engine is called or another lock
  /// is taken.
  mutable boost::mutex tablesMutex;
  boost::shared_ptr<EngineLibraries> libraries;  ///< set at construction

  /// @}

 private:
  typedef std::vector<std::pair<std::string, boost::shared_ptr<TextToSpeechEngine>>> Registry;

  Registry registry() const;
  boost::shared_ptr<TextToSpeechEngine> registered(const std::string& name) const;
  std::optional<std::string> languageOf(const std::string& voice) const;

  /// The engine that serves a language. The caller holds tablesMutex. If there is no such engine,
  /// findEngine() returns null and engineOf() throws.
  boost::shared_ptr<TextToSpeechEngine> findEngine(const std::string& language) const;
  boost::shared_ptr<TextToSpeechEngine> engineOf(const std::string& language) const;

  /// The engine that serves a language, or null.
  boost::shared_ptr<TextToSpeechEngine> serving(const std::string& language) const;

  /// The engine of the current language.
  /// \throws KQError with this method text if there is no current language
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
