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

/// The library: the contract of speech engines, what finds and joins them, and what hosts and
/// engines need besides.
namespace KQ {

class TTSLanguageInfo;

/// The contract of every speech engine: the engines of plug-ins and the manager that stands before
/// them.
///
/// A host calls the public operations. Each checks that the engine is active, calls one protected
/// hook of the same name with the prefix `x`, and returns what the hook returns; an engine
/// implements the hooks. What a hook throws passes to the host unchanged.
///
/// **Errors.** On an engine that is not active, an operation throws KQError with module
/// "TextToSpeechEngine" and description "This engine is not active.", and nothing has changed. Its
/// method text is the operation's name unless told otherwise; the texts that name another operation
/// are part of the contract, since consumers match on them.
///
/// **Threads.** Operations may be called from several threads at once. stopSynthetizer(),
/// pauseSynthetizer() and restartSynthetizer() are serialised among themselves; nothing else takes
/// a lock, so these three are never held up by an utterance. An engine protects its own state. The
/// host serialises construction, initialize(), reload() and destruction with everything else.
///
/// **Strings** are UTF-8 and compared byte by byte. Languages are named as in the language table.
class KQTTS_EXPORT TextToSpeechEngine {
 public:
  /// \param callback      what the engine reports to; not owned, may be null, outlives the engine
  /// \param languageInfo  the language table, shared with the host
  TextToSpeechEngine(TextToSpeechEngineCallbackInterface* callback,
                     boost::shared_ptr<TTSLanguageInfo> languageInfo);

  /// Calls no hook: a derived engine shuts itself down first.
  virtual ~TextToSpeechEngine();

  TextToSpeechEngine(const TextToSpeechEngine&) = delete;
  TextToSpeechEngine& operator=(const TextToSpeechEngine&) = delete;

  /// Asks the engine to free what the listed languages need. By default nothing happens.
  virtual void deactivateLanguages(const std::vector<std::string>& languages);

  /// Switches the output filter, which is on at first. The base only stores the flag. Needs no
  /// active engine.
  virtual void enableFilter(bool enable);

  /// \name Life cycle
  /// @{

  /// Makes the engine usable with what the packages hold.
  /// \param packages  all installed packages; the engine picks its own
  /// \return whether the engine is active now; true at once when it already was
  bool initialize(const std::vector<zu::PackageInfo>& packages);

  /// Shuts the engine down.
  /// \return whether the engine is inactive now, true at once when it already was; false when it
  ///         refused and is still active
  bool terminate();

  /// Initialises the engine anew and puts its language back, English where that fails.
  ///
  /// The two references are the caller's memory from one reload to the next.
  /// \param packages           all packages that are installed now
  /// \param fallbackUsed       whether the engine runs on English in place of the language wanted
  /// \param requestedLanguage  the language wanted while it does, else empty
  /// \throws KQError with method "getCurrentLanguage" when the engine is not active, and nothing has
  ///         changed then; whatever terminate(), initialize() and the switch to English throw
  void reload(const std::vector<zu::PackageInfo>& packages, bool& fallbackUsed,
              std::string& requestedLanguage);

  /// Whether the engine is active. Needs no active engine.
  bool isInitialized() const;

  /// Whether the engine is paused. Needs no active engine; terminate() and stopSynthetizer() leave
  /// a pause as it is.
  bool isPaused() const;

  /// The engine's own name. Needs no active engine.
  std::string getName() const;

  /// @}
  /// \name Synthesis
  /// @{

  /// Speaks a text and returns when it is over, however it ends.
  /// \param text  UTF-8, with inline tags where the engine knows them
  /// \throws KQError with method "startTalking" when the engine is not active
  void startSynthetizer(const std::string& text);

  /// Stops the utterance that another thread's startSynthetizer() is speaking. Returns once the
  /// engine was told; the start returns soon after.
  void stopSynthetizer();

  /// Holds the utterance where it is. Does nothing at all when already paused.
  void pauseSynthetizer();

  /// Lets a paused utterance go on. Does nothing at all when not paused.
  void restartSynthetizer();

  /// @}
  /// \name Parameters
  /// @{

  /// Sets the speed back to normal.
  /// \throws KQError with method "setParameter" when the engine is not active
  void resetSpeed();

  /// Sets a parameter. Names, units and ranges are the engine's; see its guide.
  /// \throws KQError of the engine for a name or a value that it does not take
  void setParameter(const std::string& name, const float& value);

  /// The value of a parameter.
  /// \throws KQError of the engine for a name that it does not know
  float getParameter(const std::string& name) const;

  /// The names of the engine's parameters. Needs no active engine.
  std::vector<std::string> getAvailableParameters() const;

  /// The sampling rate of the audio, in Hz.
  /// \throws KQError with method "startTalking" when the engine is not active
  int getCurrentSamplingRate() const;

  /// Asks whether the engine can speak a text; the engine gives the two strings and the result
  /// their meaning.
  /// \throws KQError with method "startTalking" when the engine is not active
  int testTextEncoding(const std::string& first, const std::string& second);

  /// @}
  /// \name Languages and voices
  /// @{

  /// Chooses a language.
  /// \throws KQError whose module is the engine's name when the engine does not offer `language`;
  ///         nothing has changed then
  void setCurrentLanguage(const std::string& language);

  /// The language that the engine speaks, or "" when it has none.
  std::string getCurrentLanguage() const;

  /// Chooses a voice of any language that the engine offers.
  /// \throws KQError with method "getCurrentLanguage" when the engine is not active, with method
  ///         "setCurrentLanguage" when it does not offer `voice`; nothing has changed then
  void setCurrentVoice(const std::string& voice);

  /// The voice that the engine speaks with; "default" of an engine that does not name its voices.
  std::string getCurrentVoice() const;

  /// The voice that a language begins with; "default" of an engine that does not name its voices.
  std::string getDefaultVoiceForLanguage(const std::string& language) const;

  /// The languages, in the engine's order.
  std::vector<std::string> getAvailableLanguages() const;

  /// The voices of the current language: voice name to language name.
  std::map<std::string, std::string> getAvailableVoices() const;

  /// The voices of all languages: voice name to language name.
  std::map<std::string, std::string> getAllAvailableVoices() const;

  /// The languages whose installed package is too old for the engine. Needs no active engine.
  std::vector<std::string> getOldLanguagesDetected() const;

  /// The folder of a voice, or "".
  std::string getVoiceInstallDir(const std::string& voice) const;

  /// Returns to the default voice of the current language.
  /// \throws KQError with method "AddToDictionary" when the engine is not active
  void setDefaultVoice();

  /// @}
  /// \name Optional features
  /// An engine without the feature logs a warning, in the category "kqtexttospeechengine", and
  /// changes nothing.
  /// @{

  /// Makes the entries of the user's dictionary hold.
  void loadDictionary();

  /// Lets the entries of the user's dictionary hold no longer.
  /// \throws KQError with method "UnloadDictionary" when the engine is not active
  void unloadDictionary();

  /// Shows the user's dictionary; where, is the engine's affair.
  /// \throws KQError with method "ShowDictionary" when the engine is not active
  void showDictionary();

  /// Removes an entry of the user's dictionary; the engine gives the strings their meaning.
  /// \return whether the engine removed it
  /// \throws KQError with method "DeleteFromDictionary" when the engine is not active
  bool deleteFromDictionary(const std::string& first, const std::string& second);

  /// Adds an entry to the user's dictionary; the engine gives the strings their meaning.
  /// \return whether the engine added it
  /// \throws KQError with method "AddToDictionary" when the engine is not active
  bool addToDictionary(const std::string& first, const std::string& second,
                       const std::string& third, const std::string& fourth,
                       const std::string& fifth);

  /// Switches an effect on or off. Needs no active engine.
  void applyEffect(const std::string& effect, bool flag);

  /// Loads an effect from a file, and says so on standard output. Needs no active engine.
  void loadEffect(const boost::filesystem::path& file);

  /// @}
  /// \name Voice description files
  /// Need no active engine and log nothing. A file holds a root element with one child for each
  /// setting, with the attributes "name" and "value"; the tag names are free. Only a regular file
  /// of at most 8 MiB, not nested deeper than 256 elements, is read. Whatever else the file holds,
  /// the answer is the value or "".
  /// @{

  /// The value of the last setting of that name, or "".
  std::string getParamFromXml(const std::string& paramName,
                              const boost::filesystem::path& file) const;

  /// The value of "sourceVoice": the voice that a described voice is based on.
  std::string getVoiceNameFromXml(const boost::filesystem::path& file) const;

  /// @}

  /// Logs that there is no user dictionary, as a warning in the category "kqtexttospeechengine".
  static void logWarningUserDictionary() { logMissing(MissingFeature::dictionary); }

 protected:
  /// \name Hooks
  /// Each is called by the public operation of the same name. A hook of an active engine may run
  /// beside any other hook; only the stop, pause and restart hooks exclude one another. Their order
  /// is part of the binary interface.
  /// @{

  /// Also called on an engine that is not active.
  virtual std::string xGetName() const = 0;
  /// Never called on an active engine.
  /// \return whether the engine is usable now
  virtual bool xInitialize(const std::vector<zu::PackageInfo>& packages) = 0;
  /// Utterances may be running. terminate() takes no lock: two threads that terminate at once may both
  /// be here, and the later one may begin when the first is done already.
  /// \return whether the engine is shut down now
  virtual bool xTerminate() = 0;

  /// Speaks, tells the callback of it, and returns when the utterance is over.
  virtual void xStartSynthetizer(const std::string& text) = 0;
  /// Ends the utterance that is running, if there is one, without waiting for its end. May be
  /// called from an event of that utterance, as may the next two.
  virtual void xStopSynthetizer() = 0;
  /// Called only while isPaused() is false.
  virtual void xPauseSynthetizer() = 0;
  /// Called only after a pause; isPaused() is false already.
  virtual void xRestartSynthetizer() = 0;

  /// Throws KQError for a name or a value that the engine does not take, and changes nothing then.
  virtual void xSetParameter(const std::string& name, const float& value) = 0;
  /// Sets the speed back to normal.
  virtual void xResetSpeed() = 0;
  /// Throws KQError for a name that the engine does not know.
  virtual float xGetParameter(const std::string& name) const = 0;

  /// \param language  one that xGetAvailableLanguages() offers
  virtual void xSetCurrentLanguage(const std::string& language) = 0;
  /// \param voice  one that xGetAllAvailableVoices() offers
  virtual void xSetCurrentVoice(const std::string& voice) = 0;
  /// Also called on an engine that is not active. A subset of xGetAvailableLanguages().
  virtual std::vector<std::string> xGetOldLanguagesDetected() const = 0;
  /// Those of all languages; of the current one alone unless overridden.
  virtual std::map<std::string, std::string> xGetAllAvailableVoices() const {
    return xGetAvailableVoices();
  }
  /// Those of the current language, each with its language.
  virtual std::map<std::string, std::string> xGetAvailableVoices() const = 0;
  /// In the engine's order, each once.
  virtual std::vector<std::string> xGetAvailableLanguages() const = 0;

  /// Also called on an engine that is not active.
  virtual std::vector<std::string> xGetAvailableParameters() const = 0;
  /// In Hz.
  virtual int xGetCurrentSamplingRate() const = 0;
  /// The engine gives the strings and the result their meaning.
  virtual int xTestTextEncoding(const std::string& first, const std::string& second) = 0;

  /// The folder of a voice; "" unless overridden.
  virtual std::string xGetVoiceInstallDir(const std::string& voice) const {
    static_cast<void>(voice);
    return "";
  }
  /// "" when there is none.
  virtual std::string xGetCurrentLanguage() const = 0;
  /// "default" unless overridden.
  virtual std::string xGetCurrentVoice() const { return "default"; }
  /// "default" unless overridden.
  virtual std::string xGetDefaultVoiceForLanguage(const std::string& language) const {
    static_cast<void>(language);
    return "default";
  }

  /// Logs that there is no user dictionary unless overridden, as do the next four.
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

  /// Logs that there is no default voice unless overridden.
  virtual void xSetDefaultVoice() { logMissing(MissingFeature::defaultVoice); }
  /// Logs that there is no such effect unless overridden. Also called on an engine that is not
  /// active.
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
  /// Their order is part of the binary interface. The flags are shared between threads without a
  /// lock: reach them through boost::atomic_ref.
  /// @{

  boost::shared_ptr<TTSLanguageInfo> languageInfo;  ///< set at construction
  bool active;                                      ///< shared flag; see isInitialized()
  bool reserved;                                    ///< never read or written
  bool talking;  ///< shared flag: startSynthetizer() is inside its hook, or its hook threw and no
                 ///< stop came since
  bool paused;   ///< shared flag, written under `mutex`; see isPaused()
  boost::mutex mutex;   ///< held by stop, pause and restart, hooks included
  bool reservedFirst;   ///< never read or written
  bool reservedSecond;  ///< never read or written
  TextToSpeechEngineCallbackInterface* callback;  ///< set at construction; not owned
  bool filterEnabled;                             ///< shared flag; see enableFilter()

  /// @}

 private:
  enum class MissingFeature { dictionary, defaultVoice, applyEffect, loadEffect };

  /// Logs the warning that stands for a feature that this engine lacks.
  static void logMissing(MissingFeature feature);

  /// \throws KQError with this method text unless the engine is active
  void requireActive(const char* method) const;
};

}  // namespace KQ
