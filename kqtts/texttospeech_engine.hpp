#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <kqtts/export.hpp>
#include <map>
#include <string>
#include <vector>
#include <zu/package_info.hpp>

class TextToSpeechEngineCallbackInterface;

/// The library: the contract of speech engines, the manager that loads and routes to them, and
/// helpers for hosts and engines.
namespace KQ {

class TTSLanguageInfo;

/// The contract of every speech engine. Engine plug-ins implement it, and so does the manager.
///
/// A host calls the public operations. Each operation checks that the engine is active, calls the
/// protected hook of the same name with the prefix `x`, and returns what the hook returns. An
/// engine implements the hooks. An exception of a hook passes to the host unchanged.
///
/// **Errors.** On an engine that is not active, an operation throws KQError with module
/// "TextToSpeechEngine" and description "This engine is not active.", and changes nothing. The
/// error's method text is the operation's name unless documented otherwise. Some method texts name
/// another operation: they are part of the contract, because consumers match on them.
///
/// **Threads.** Operations may be called from several threads at once. stopSynthetizer(),
/// pauseSynthetizer() and restartSynthetizer() exclude each other; no other operation takes a lock,
/// so these three never wait for an utterance. An engine protects its own state. The host must not
/// run construction, initialize(), reload() or destruction at the same time as any other call.
///
/// **Strings** are UTF-8 and compared byte by byte. Languages are named as in the language table.
class KQTTS_EXPORT TextToSpeechEngine {
 public:
  /// \param callback      receives the engine's events; not owned, may be null, outlives the engine
  /// \param languageInfo  the language table, shared with the host
  TextToSpeechEngine(TextToSpeechEngineCallbackInterface* callback,
                     boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Calls no hook: the derived engine must shut itself down in its own destructor.
  virtual ~TextToSpeechEngine();

  TextToSpeechEngine(const TextToSpeechEngine&) = delete;
  TextToSpeechEngine& operator=(const TextToSpeechEngine&) = delete;

  /// Asks the engine to free the resources of these languages. The default does nothing.
  virtual void deactivateLanguages(const std::vector<std::string>& languages);

  /// Switches the output filter on or off; it is on at first. The base class only stores the flag.
  /// The engine need not be active.
  virtual void enableFilter(bool enable);

  /// \name Life cycle
  /// @{

  /// Makes the engine usable with the languages and voices of the packages. Does nothing if the
  /// engine is already active.
  /// \param packages  all installed packages; the engine picks its own
  /// \return whether the engine is active now
  bool initialize(const std::vector<zu::PackageInfo>& packages);

  /// Shuts the engine down. Does nothing if the engine is not active.
  /// \return whether the engine is inactive now; false means that it refused and is still active
  bool terminate();

  /// Terminates and initialises the engine, then restores its language; if that fails, it switches
  /// to English.
  ///
  /// The caller keeps the two referenced variables from one reload to the next.
  /// \param packages           all packages that are installed now
  /// \param fallbackUsed       whether the engine speaks English in place of the requested language
  /// \param requestedLanguage  the requested language while `fallbackUsed` is true, else empty
  /// \throws KQError with method "getCurrentLanguage" if the engine is not active; nothing has
  ///         changed then. Also whatever terminate(), initialize() and the switch to English throw.
  void reload(const std::vector<zu::PackageInfo>& packages, bool& fallbackUsed,
              std::string& requestedLanguage);

  /// Whether the engine is active. Never throws.
  bool isInitialized() const;

  /// Whether the engine is paused. The engine need not be active. terminate() and
  /// stopSynthetizer() do not end a pause.
  bool isPaused() const;

  /// The engine's own name. The engine need not be active.
  std::string getName() const;

  /// @}
  /// \name Synthesis
  /// @{

  /// Speaks a text. Returns when the utterance is over: finished, stopped or failed.
  /// \param text  UTF-8, may hold the inline tags that the engine knows
  /// \throws KQError with method "startTalking" if the engine is not active
  void startSynthetizer(const std::string& text);

  /// Stops the utterance that startSynthetizer() is speaking in another thread. Does not wait for
  /// its end; startSynthetizer() returns soon after.
  void stopSynthetizer();

  /// Pauses the engine and its current utterance. Does nothing if the engine is already paused.
  void pauseSynthetizer();

  /// Resumes a paused engine. Does nothing if the engine is not paused.
  void restartSynthetizer();

  /// @}
  /// \name Parameters
  /// @{

  /// Resets the speed to normal.
  /// \throws KQError with method "setParameter" if the engine is not active
  void resetSpeed();

  /// Sets a parameter. Each engine documents its own names, units and ranges.
  /// \throws KQError of the engine if it does not accept the name or the value
  void setParameter(const std::string& name, const float& value);

  /// The value of a parameter.
  /// \throws KQError of the engine if it does not know the name
  float getParameter(const std::string& name) const;

  /// The names of the engine's parameters. The engine need not be active.
  std::vector<std::string> getAvailableParameters() const;

  /// The sampling rate of the audio, in Hz.
  /// \throws KQError with method "startTalking" if the engine is not active
  int getCurrentSamplingRate() const;

  /// Asks whether the engine can speak a text. The engine defines the meaning of the two strings
  /// and of the result.
  /// \throws KQError with method "startTalking" if the engine is not active
  int testTextEncoding(const std::string& first, const std::string& second);

  /// @}
  /// \name Languages and voices
  /// @{

  /// Selects a language.
  /// \throws KQError whose module is the engine's name if the engine does not offer `language`;
  ///         nothing has changed then
  void setCurrentLanguage(const std::string& language);

  /// The current language, or "" if there is none.
  std::string getCurrentLanguage() const;

  /// Selects a voice of any language that the engine offers.
  /// \throws KQError with method "getCurrentLanguage" if the engine is not active, with method
  ///         "setCurrentLanguage" if it does not offer `voice`; nothing has changed then
  void setCurrentVoice(const std::string& voice);

  /// The current voice, or "default" if the engine does not name its voices.
  std::string getCurrentVoice() const;

  /// The voice that is selected together with a language, or "default" if the engine does not name
  /// its voices.
  std::string getDefaultVoiceForLanguage(const std::string& language) const;

  /// The languages, in the engine's order.
  std::vector<std::string> getAvailableLanguages() const;

  /// The voices of an engine's current language: voice name to language name.
  ///
  /// TextToSpeechManager differs. It returns what each of its engines reported at the manager's
  /// initialize(): the voices of several languages, which do not change with the current language.
  /// To list the voices of one language, filter getAllAvailableVoices().
  std::map<std::string, std::string> getAvailableVoices() const;

  /// The voices of all languages: voice name to language name.
  std::map<std::string, std::string> getAllAvailableVoices() const;

  /// The languages whose installed package is too old for the engine. The engine need not be
  /// active.
  std::vector<std::string> getOldLanguagesDetected() const;

  /// The folder of a voice, or "".
  std::string getVoiceInstallDir(const std::string& voice) const;

  /// Selects the default voice of the current language.
  /// \throws KQError with method "AddToDictionary" if the engine is not active
  void setDefaultVoice();

  /// @}
  /// \name Optional features
  /// An engine without the feature logs a warning in the category "kqtexttospeechengine" and
  /// changes nothing.
  /// @{

  /// Applies the user's dictionary to the texts that are spoken from now on.
  void loadDictionary();

  /// Stops applying the user's dictionary.
  /// \throws KQError with method "UnloadDictionary" if the engine is not active
  void unloadDictionary();

  /// Shows the user's dictionary. The engine decides where.
  /// \throws KQError with method "ShowDictionary" if the engine is not active
  void showDictionary();

  /// Removes an entry of the user's dictionary. The engine defines the meaning of the strings.
  /// \return whether the engine removed it
  /// \throws KQError with method "DeleteFromDictionary" if the engine is not active
  bool deleteFromDictionary(const std::string& first, const std::string& second);

  /// Adds an entry to the user's dictionary. The engine defines the meaning of the strings.
  /// \return whether the engine added it
  /// \throws KQError with method "AddToDictionary" if the engine is not active
  bool addToDictionary(const std::string& first, const std::string& second,
                       const std::string& third, const std::string& fourth,
                       const std::string& fifth);

  /// Switches an effect on or off. The engine need not be active.
  void applyEffect(const std::string& effect, bool flag);

  /// Loads an effect from a file, and reports it on standard output. The engine need not be active.
  void loadEffect(const boost::filesystem::path& file);

  /// @}
  /// \name Voice description files
  /// These functions work on any engine, active or not, and log nothing. A file has a root element
  /// with one child for each setting; the child has the attributes "name" and "value", and any tag
  /// name. Only a regular file of at most 8 MiB that is nested at most 256 elements deep is read.
  /// For any other file the result is "".
  /// @{

  /// The value of the last setting with that name, or "".
  std::string getParamFromXml(const std::string& paramName,
                              const boost::filesystem::path& file) const;

  /// The value of "sourceVoice": the synthesiser's voice that the described voice uses.
  std::string getVoiceNameFromXml(const boost::filesystem::path& file) const;

  /// @}

  /// Logs a warning in the category "kqtexttospeechengine": the engine has no user dictionary.
  static void logWarningUserDictionary() { logMissing(MissingFeature::dictionary); }

 protected:
  /// \name Hooks
  /// The public operation of the same name calls each hook, on an active engine only unless the
  /// hook's comment says otherwise. Hooks may run at the same time in several threads; only the
  /// stop, pause and restart hooks exclude each other. Their order is part of the binary interface.
  /// @{

  /// Also called on an inactive engine.
  virtual std::string xGetName() const = 0;
  /// Called on an inactive engine only.
  /// \return whether the engine is usable now
  virtual bool xInitialize(const std::vector<zu::PackageInfo>& packages) = 0;
  /// Called while utterances may be running. terminate() takes no lock: if two threads call it at
  /// once, both may call this hook, one after the other or at the same time.
  /// \return whether the engine is shut down now
  virtual bool xTerminate() = 0;

  /// Speaks the text, emits its events to the callback, and returns when the utterance is over.
  virtual void xStartSynthetizer(const std::string& text) = 0;
  /// Stops the current utterance, if there is one, without waiting for its end. This hook and the
  /// next two may be called from an event of that utterance.
  virtual void xStopSynthetizer() = 0;
  /// Called only if the engine was not paused; isPaused() is still false.
  virtual void xPauseSynthetizer() = 0;
  /// Called only if the engine was paused; isPaused() is already false.
  virtual void xRestartSynthetizer() = 0;

  /// Must throw KQError and change nothing if the engine does not accept the name or the value.
  virtual void xSetParameter(const std::string& name, const float& value) = 0;
  /// Resets the speed to normal.
  virtual void xResetSpeed() = 0;
  /// Must throw KQError if the engine does not know the name.
  virtual float xGetParameter(const std::string& name) const = 0;

  /// \param language  one of xGetAvailableLanguages()
  virtual void xSetCurrentLanguage(const std::string& language) = 0;
  /// \param voice  one of xGetAllAvailableVoices()
  virtual void xSetCurrentVoice(const std::string& voice) = 0;
  /// Returns a subset of xGetAvailableLanguages(). Also called on an inactive engine.
  virtual std::vector<std::string> xGetOldLanguagesDetected() const = 0;
  /// Returns the voices of all languages. The default returns those of the current language.
  virtual std::map<std::string, std::string> xGetAllAvailableVoices() const {
    return xGetAvailableVoices();
  }
  /// Returns the voices of the current language: voice name to language name.
  virtual std::map<std::string, std::string> xGetAvailableVoices() const = 0;
  /// Returns each language once, in the engine's order.
  virtual std::vector<std::string> xGetAvailableLanguages() const = 0;

  /// Returns the names of the parameters. Also called on an inactive engine.
  virtual std::vector<std::string> xGetAvailableParameters() const = 0;
  /// Returns the sampling rate in Hz.
  virtual int xGetCurrentSamplingRate() const = 0;
  /// The engine defines the meaning of the strings and of the result.
  virtual int xTestTextEncoding(const std::string& first, const std::string& second) = 0;

  /// Returns the folder of a voice. The default returns "".
  virtual std::string xGetVoiceInstallDir(const std::string& voice) const {
    static_cast<void>(voice);
    return "";
  }
  /// Returns the current language, or "" if there is none.
  virtual std::string xGetCurrentLanguage() const = 0;
  /// Returns the current voice. The default returns "default".
  virtual std::string xGetCurrentVoice() const { return "default"; }
  /// Returns the voice that is selected together with a language. The default returns "default".
  virtual std::string xGetDefaultVoiceForLanguage(const std::string& language) const {
    static_cast<void>(language);
    return "default";
  }

  /// The default logs that there is no user dictionary; so do the defaults of the next four.
  virtual void xLoadDictionary() { logWarningUserDictionary(); }
  /// \copydoc xLoadDictionary
  virtual void xUnloadDictionary() { logWarningUserDictionary(); }
  /// \copydoc xLoadDictionary
  virtual void xShowDictionary() { logWarningUserDictionary(); }
  /// \copydoc xLoadDictionary
  virtual bool xDeleteFromDictionary(const std::string& first, const std::string& second) {
    static_cast<void>(first);
    static_cast<void>(second);
    logWarningUserDictionary();
    return false;
  }
  /// \copydoc xLoadDictionary
  virtual bool xAddToDictionary(const std::string& first, const std::string& second,
                                const std::string& third, const std::string& fourth,
                                const std::string& fifth) {
    static_cast<void>(first);
    static_cast<void>(second);
    static_cast<void>(third);
    static_cast<void>(fourth);
    static_cast<void>(fifth);
    logWarningUserDictionary();
    return false;
  }

  /// The default logs that there is no default voice.
  virtual void xSetDefaultVoice() { logMissing(MissingFeature::defaultVoice); }
  /// The default logs that there is no such effect. Also called on an inactive engine.
  virtual void xApplyEffect(const std::string& effect, bool flag) {
    static_cast<void>(effect);
    static_cast<void>(flag);
    logMissing(MissingFeature::applyEffect);
  }
  /// \copydoc xApplyEffect
  virtual void xLoadEffect(const boost::filesystem::path& file) {
    static_cast<void>(file);
    logMissing(MissingFeature::loadEffect);
  }

  /// @}
  /// \name Fields
  /// Their order is part of the binary interface. Threads share the flags without a lock: access
  /// them through boost::atomic_ref.
  /// @{

  boost::shared_ptr<TTSLanguageInfo> languageInfo;  ///< set at construction
  bool active;                                      ///< shared flag; see isInitialized()
  bool reserved;                                    ///< never read or written
  bool talking;  ///< shared flag: startSynthetizer() is inside its hook, or its hook threw and
                 ///< stopSynthetizer() was not called since
  bool paused;   ///< shared flag, written under `mutex`; see isPaused()
  boost::mutex mutex;   ///< held by stop, pause and restart, also while their hooks run
  bool reservedFirst;   ///< never read or written
  bool reservedSecond;  ///< never read or written
  TextToSpeechEngineCallbackInterface* callback;  ///< set at construction; not owned
  bool filterEnabled;                             ///< shared flag; see enableFilter()

  /// @}

 private:
  enum class MissingFeature { dictionary, defaultVoice, applyEffect, loadEffect };

  /// Logs the warning about a feature that this engine lacks.
  static void logMissing(MissingFeature feature);

  /// \throws KQError with this method text if the engine is not active
  void requireActive(const char* method) const;
};

}  // namespace KQ
