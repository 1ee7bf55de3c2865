#pragma once

#include <atomic>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <kqtts/texttospeech_engine.hpp>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "dictionary/user_dictionaries.hpp"
#include "engine/effect_set.hpp"
#include "engine/parameter_table.hpp"
#include "engine/synthesizer.hpp"
#include "engine/utterance.hpp"
#include "packages/package_catalogue.hpp"

namespace KQ::engines {

/// What differs from engine to engine.
struct EngineTraits {
  std::string name;            ///< as getName() returns it
  std::string packageEngine;   ///< the "engine" in the manifests of its packages
  std::string minimumVersion;  ///< of its packages
  std::string logCategory;
  /// Opens the synthesiser. Called only if there is a package for it.
  /// \throws KQError if the synthesiser cannot be used
  std::function<std::shared_ptr<Synthesizer>()> openSynthesizer;
  std::vector<ParameterRow> moreParameters{};  ///< besides those of all engines
  bool isStandIn = false;                      ///< whether a missing package is no fault
};

/// The frame of an engine, which offers the voices of its packages and speaks with a synthesiser.
/// Each plug-in makes one from its EngineTraits.
///
/// The engine is usable if its synthesiser and at least one package are. It begins with English, or
/// with British English, or with its first language. All hooks may be called from any thread. A
/// setting that changes during an utterance takes effect with the next one.
///
/// Each startSynthetizer() calls the host's onStart() and onEnd() exactly once, unless it throws
/// before its utterance begins. Concurrent utterances are spoken one after another, and a stop ends
/// them all.
class SpeechEngine : public TextToSpeechEngine {
 public:
  SpeechEngine(EngineTraits traits, TextToSpeechEngineCallbackInterface* callback,
               boost::shared_ptr<TTSLanguageInfo> languageInfo);
  ~SpeechEngine() override;

 protected:
  std::string xGetName() const override;
  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override;
  /// Stops all utterances, and does not wait for their end.
  bool xTerminate() override;

  void xStartSynthetizer(const std::string& text) override;
  void xStopSynthetizer() override;
  void xPauseSynthetizer() override;
  void xRestartSynthetizer() override;

  void xSetParameter(const std::string& name, const float& value) override;
  void xResetSpeed() override;
  float xGetParameter(const std::string& name) const override;
  std::vector<std::string> xGetAvailableParameters() const override;
  int xGetCurrentSamplingRate() const override;
  /// \param first   a text
  /// \param second  a language, or "" for the current one
  /// \return 1 if the text is valid UTF-8 without NUL and the engine offers the language, else 0
  int xTestTextEncoding(const std::string& first, const std::string& second) override;

  /// Also chooses the language's default voice, unless the current voice speaks it.
  void xSetCurrentLanguage(const std::string& language) override;
  /// Also chooses the voice's language.
  void xSetCurrentVoice(const std::string& voice) override;
  void xSetDefaultVoice() override;
  std::string xGetCurrentLanguage() const override;
  std::string xGetCurrentVoice() const override;
  /// Returns "" for a language that the engine does not offer.
  std::string xGetDefaultVoiceForLanguage(const std::string& language) const override;
  std::vector<std::string> xGetAvailableLanguages() const override;
  std::map<std::string, std::string> xGetAvailableVoices() const override;
  std::map<std::string, std::string> xGetAllAvailableVoices() const override;
  std::vector<std::string> xGetOldLanguagesDetected() const override;
  std::string xGetVoiceInstallDir(const std::string& voice) const override;

  /// Switches the high-pass, which is off at first: by default a host gets the synthesiser's own
  /// sound.
  void enableFilter(bool enable) override;
  void xLoadEffect(const boost::filesystem::path& file) override;
  void xApplyEffect(const std::string& effect, bool flag) override;

  // The user's dictionary of the current language: on disk, and once loaded, in speech. Each
  // operation throws KQError if it fails, and then changes nothing.

  /// Reads the dictionary, even if it is loaded.
  void xLoadDictionary() override;
  void xUnloadDictionary() override;
  /// Logs the entries on disk.
  void xShowDictionary() override;
  /// \param first   a word
  /// \param second  a language, or "" for the current one
  /// \return whether there was such an entry
  bool xDeleteFromDictionary(const std::string& first, const std::string& second) override;
  /// \param first   a word
  /// \param second  its replacement
  /// \param third   a language, or "" for the current one
  /// \param fourth  "exact" for this spelling only, "any" or "" for upper and lower case
  /// \param fifth   must be ""
  /// \return false if the dictionary has the same entry
  bool xAddToDictionary(const std::string& first, const std::string& second,
                        const std::string& third, const std::string& fourth,
                        const std::string& fifth) override;

 private:
  /// What changes with the life cycle and the choice of language and voice. A state is constant: a
  /// change replaces it by another one.
  struct State {
    std::shared_ptr<Synthesizer> synthesizer;  ///< null unless active
    std::shared_ptr<const PackageCatalogue> catalogue = std::make_shared<PackageCatalogue>();
    std::string language;
    std::string voice;
  };

  /// The settings and effects that an utterance begins with.
  struct Sound {
    SpeechSettings settings;
    AudioEffects effects;
  };

  std::shared_ptr<const State> state() const;
  Sound sound(const State& state) const;
  std::string dictionaryLanguage(const std::string& wanted) const;
  /// \return the former state. The caller drops it without the lock, because that may close the
  ///         synthesiser
  template <typename Change>
  std::shared_ptr<const State> changeState(Change change);
  template <typename Work>
  auto withDictionary(const char* method, Work work) const;

  const EngineTraits traits;
  ParameterTable parameterTable;
  EffectSet effectSet;
  UserDictionaries dictionaries;
  std::atomic<bool> highPass{false};
  UtteranceControl control;
  mutable std::mutex stateMutex;
  std::shared_ptr<const State> currentState = std::make_shared<State>();  ///< guarded by stateMutex
};

}  // namespace KQ::engines
