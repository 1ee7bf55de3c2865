#include "engine/speech_engine.hpp"

#include <algorithm>
#include <kq/error.hpp>
#include <utility>
#include <zu/log.hpp>

#include "engine/warning.hpp"
#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using Lock = std::lock_guard<std::mutex>;

/// Returns the language of each voice; of the voices of one language, or of all if that is null.
std::map<std::string, std::string> voiceMap(const PackageCatalogue& catalogue,
                                            const std::string* language) {
  std::map<std::string, std::string> voices;
  for (const auto& [name, voice] : catalogue.voices()) {
    if (language == nullptr || voice.language == *language) {
      voices[name] = voice.language;
    }
  }
  return voices;
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string firstLanguage(const PackageCatalogue& catalogue) {
  const std::vector<std::string>& languages = catalogue.languages();
  for (const char* preferred : {"English", "EnglishGB"}) {
    if (contains(languages, preferred)) {
      return preferred;
    }
  }
  return languages.front();
}

std::vector<ParameterRow> allParameters(const std::vector<ParameterRow>& more) {
  std::vector<ParameterRow> all{parameters::speed, parameters::pitchShift, parameters::voiceLevel};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace

SpeechEngine::SpeechEngine(EngineTraits engineTraits, TextToSpeechEngineCallbackInterface* host,
                           boost::shared_ptr<TTSLanguageInfo> languages)
    : TextToSpeechEngine(host, std::move(languages)),
      traits(std::move(engineTraits)),
      parameterTable(traits.name, allParameters(traits.moreParameters)),
      effectSet(*this) {
  zu::log::registerCategory(traits.logCategory);
}

SpeechEngine::~SpeechEngine() = default;

std::string SpeechEngine::xGetName() const {
  return traits.name;
}

// Life cycle ----------------------------------------------------------------------------------

bool SpeechEngine::xInitialize(const std::vector<zu::PackageInfo>& packages) {
  State opened;
  const PackageRules rules{traits.packageEngine, traits.minimumVersion, traits.logCategory,
                           [&](const std::string& source) {
                             // An engine without packages does not open its synthesiser.
                             if (!opened.synthesizer) {
                               opened.synthesizer = traits.openSynthesizer();
                             }
                             return opened.synthesizer->hasVoice(source);
                           }};
  try {
    opened.catalogue = std::make_shared<PackageCatalogue>(*this, packages, rules);
  } catch (const KQError& error) {
    warn(traits.logCategory, error.getDescription());
    return false;
  }
  if (opened.catalogue->languages().empty()) {
    const std::string message = "None of the " + std::to_string(packages.size()) +
                                " installed packages can be used by " + traits.name;
    if (traits.isStandIn) {
      zu::log::write(zu::log::Level::verbose, traits.logCategory, message, __FILE__, __func__,
                     __LINE__);
    } else {
      warn(traits.logCategory, message);
    }
    return false;
  }
  opened.language = firstLanguage(*opened.catalogue);
  opened.voice = opened.catalogue->defaultVoice(opened.language);
  changeState([&](State& state) { state = opened; });
  return true;
}

bool SpeechEngine::xTerminate() {
  const auto closed = changeState([](State& state) { state = State(); });
  dictionaries.unloadAll();
  control.stop();
  if (closed->synthesizer) {
    closed->synthesizer->turns().wakeWaiting();
  }
  return true;
}

std::shared_ptr<const SpeechEngine::State> SpeechEngine::state() const {
  const Lock lock(stateMutex);
  return currentState;
}

template <typename Change>
std::shared_ptr<const SpeechEngine::State> SpeechEngine::changeState(Change change) {
  const Lock lock(stateMutex);
  auto changed = std::make_shared<State>(*currentState);
  change(*changed);
  return std::exchange(currentState, std::move(changed));
}

// Synthesis -----------------------------------------------------------------------------------

void SpeechEngine::xStartSynthetizer(const std::string& text) {
  Utterance utterance(control, callback);
  const std::shared_ptr<const State> now = state();
  if (!now->synthesizer) {
    throw KQError(traits.name, "startSynthetizer", "The engine has been shut down.", nullptr, 0);
  }
  const Sound wanted = sound(*now);
  utterance.setEffects(wanted.effects);
  const auto dictionary = dictionaries.loaded(now->language);
  const auto rewriter = now->synthesizer->rewriter(wanted.settings.sourceVoice);
  SpokenText spoken(text, dictionary.get(), rewriter.get());
  utterance.setText(spoken);
  Synthesizer& synthesizer = *now->synthesizer;
  const Turn turn(synthesizer.turns(), [&] { return utterance.isStopped(); });
  utterance.run([&] { synthesizer.speak(spoken, wanted.settings, utterance); },
                [&] { synthesizer.skip(spoken, wanted.settings); });
}

void SpeechEngine::xStopSynthetizer() {
  control.stop();
  if (const auto now = state(); now->synthesizer) {
    now->synthesizer->turns().wakeWaiting();
  }
}

void SpeechEngine::xPauseSynthetizer() {
  control.pause();
}

void SpeechEngine::xRestartSynthetizer() {
  control.resume();
}

SpeechEngine::Sound SpeechEngine::sound(const State& now) const {
  const PackagedVoice& voice = *now.catalogue->voice(now.voice);
  const float shift = parameterTable.get(parameters::pitchShift.name);
  Sound sound{{voice.sourceVoice,
               parameterTable.get(parameters::speed.name),
               shift == 0 ? parameters::pitchShift.normal : shift,
               parameterTable.get(parameters::voiceLevel.name),
               {}},
              {}};
  for (const ParameterRow& row : traits.moreParameters) {
    sound.settings.more[row.name] = parameterTable.get(row.name);
  }
  const auto add = [&](const VoiceTuning& tuning) {
    sound.settings.speed *= tuning.speed / 100;
    sound.settings.pitch *= tuning.pitch;
    sound.settings.level *= tuning.level;
    if (tuning.doubleVoice.isHeard()) {
      sound.effects.doubleVoices.push_back(tuning.doubleVoice);
    }
  };
  add(voice.tuning);
  for (const VoiceTuning& effect : effectSet.applied()) {
    add(effect);
  }
  const float pitch = std::clamp(sound.settings.pitch, 0.25F, 4.0F);
  sound.settings.pitch = now.synthesizer->ownPitchShift(pitch);
  sound.effects.pitch = pitch / sound.settings.pitch;
  sound.effects.highPass = highPass;
  return sound;
}

// Effects -------------------------------------------------------------------------------------

void SpeechEngine::enableFilter(bool enable) {
  TextToSpeechEngine::enableFilter(enable);
  highPass = enable;
}

void SpeechEngine::xLoadEffect(const boost::filesystem::path& file) {
  effectSet.load(file);
}

void SpeechEngine::xApplyEffect(const std::string& effect, bool flag) {
  effectSet.apply(effect, flag);
}

// Dictionary ----------------------------------------------------------------------------------

/// \throws DictionaryError for a language that the engine does not offer
std::string SpeechEngine::dictionaryLanguage(const std::string& wanted) const {
  const std::shared_ptr<const State> now = state();
  std::string language = wanted.empty() ? now->language : wanted;
  if (!contains(now->catalogue->languages(), language)) {
    throw DictionaryError("the engine does not offer the language \"" + language + '"');
  }
  return language;
}

template <typename Work>
auto SpeechEngine::withDictionary(const char* method, Work work) const {
  try {
    return work();
  } catch (const DictionaryError& error) {
    throw KQError(traits.name, method, error.what(), nullptr, 0);
  }
}

void SpeechEngine::xLoadDictionary() {
  withDictionary("loadDictionary", [&] { dictionaries.load(dictionaryLanguage("")); });
}

void SpeechEngine::xUnloadDictionary() {
  withDictionary("unloadDictionary", [&] { dictionaries.unload(dictionaryLanguage("")); });
}

void SpeechEngine::xShowDictionary() {
  withDictionary("showDictionary", [&] {
    const DictionaryFile file(DictionaryFile::userFolder(), dictionaryLanguage(""));
    const auto entries = file.read().entries();
    inform(traits.logCategory,
           file.path().string() + ": " + std::to_string(entries.size()) + " entries");
    for (const auto& [word, entry] : entries) {
      inform(traits.logCategory, '"' + word + "\" is spoken as \"" + entry.replacement + '"' +
                                     (entry.isExact ? ", in this spelling only" : ""));
    }
  });
}

bool SpeechEngine::xDeleteFromDictionary(const std::string& first, const std::string& second) {
  return withDictionary("deleteFromDictionary",
                        [&] { return dictionaries.remove(dictionaryLanguage(second), first); });
}

bool SpeechEngine::xAddToDictionary(const std::string& first, const std::string& second,
                                    const std::string& third, const std::string& fourth,
                                    const std::string& fifth) {
  return withDictionary("addToDictionary", [&] {
    if (!fourth.empty() && fourth != "any" && fourth != "exact") {
      throw DictionaryError(R"(the fourth argument must be "any", "exact" or "")");
    }
    if (!fifth.empty()) {
      throw DictionaryError(R"(the fifth argument must be "")");
    }
    return dictionaries.add(dictionaryLanguage(third), {first, second, fourth == "exact"});
  });
}

// Parameters ----------------------------------------------------------------------------------

void SpeechEngine::xSetParameter(const std::string& name, const float& value) {
  parameterTable.set(name, value);
}

void SpeechEngine::xResetSpeed() {
  parameterTable.reset(parameters::speed);
}

float SpeechEngine::xGetParameter(const std::string& name) const {
  return parameterTable.get(name);
}

std::vector<std::string> SpeechEngine::xGetAvailableParameters() const {
  return parameterTable.names();
}

int SpeechEngine::xGetCurrentSamplingRate() const {
  const std::shared_ptr<const State> now = state();
  return now->synthesizer
             ? now->synthesizer->samplingRate(now->catalogue->voice(now->voice)->sourceVoice)
             : 0;
}

int SpeechEngine::xTestTextEncoding(const std::string& first, const std::string& second) {
  const bool offered = second.empty() || contains(state()->catalogue->languages(), second);
  return offered && isValidUtf8(first) && first.find('\0') == std::string::npos ? 1 : 0;
}

// Languages and voices ------------------------------------------------------------------------

void SpeechEngine::xSetCurrentLanguage(const std::string& language) {
  changeState([&](State& state) {
    const std::string voice = state.catalogue->defaultVoice(language);
    if (state.language != language && !voice.empty()) {
      state.language = language;
      state.voice = voice;
    }
  });
}

void SpeechEngine::xSetCurrentVoice(const std::string& voice) {
  changeState([&](State& state) {
    if (const PackagedVoice* chosen = state.catalogue->voice(voice)) {
      state.language = chosen->language;
      state.voice = voice;
    }
  });
}

void SpeechEngine::xSetDefaultVoice() {
  changeState([](State& state) { state.voice = state.catalogue->defaultVoice(state.language); });
}

std::string SpeechEngine::xGetCurrentLanguage() const {
  return state()->language;
}

std::string SpeechEngine::xGetCurrentVoice() const {
  return state()->voice;
}

std::string SpeechEngine::xGetDefaultVoiceForLanguage(const std::string& language) const {
  return state()->catalogue->defaultVoice(language);
}

std::vector<std::string> SpeechEngine::xGetAvailableLanguages() const {
  return state()->catalogue->languages();
}

std::map<std::string, std::string> SpeechEngine::xGetAvailableVoices() const {
  const std::shared_ptr<const State> now = state();
  return voiceMap(*now->catalogue, &now->language);
}

std::map<std::string, std::string> SpeechEngine::xGetAllAvailableVoices() const {
  return voiceMap(*state()->catalogue, nullptr);
}

std::vector<std::string> SpeechEngine::xGetOldLanguagesDetected() const {
  return state()->catalogue->outdatedLanguages();
}

std::string SpeechEngine::xGetVoiceInstallDir(const std::string& voice) const {
  const std::shared_ptr<const State> now = state();
  const PackagedVoice* found = now->catalogue->voice(voice);
  return found == nullptr ? std::string() : found->directory.string();
}

}  // namespace KQ::engines
