#include "support/fake_engine.hpp"

#include <boost/atomic/atomic_ref.hpp>
#include <sstream>
#include <utility>

namespace test {

namespace {

std::string toText(float value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

bool read(const bool& flag) {
  return boost::atomic_ref<bool>(const_cast<bool&>(flag)).load();
}

}  // namespace

MinimalEngine::MinimalEngine(std::string engineName, TextToSpeechEngineCallbackInterface* callback,
                             boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo)
    : TextToSpeechEngine(callback, std::move(languageInfo)), name(std::move(engineName)) {}

MinimalEngine::~MinimalEngine() {
  if (onDestruction) {
    onDestruction();
  }
}

std::vector<std::string> MinimalEngine::takeCalls() {
  const std::lock_guard<std::mutex> lock(stateMutex);
  return std::exchange(calls, {});
}

bool MinimalEngine::isTalking() const {
  return read(talking);
}

bool MinimalEngine::isFilterEnabled() const {
  return read(filterEnabled);
}

void MinimalEngine::setFlags(bool nowActive, bool nowPaused) {
  boost::atomic_ref<bool>(active).store(nowActive);
  boost::atomic_ref<bool>(paused).store(nowPaused);
}

void MinimalEngine::note(const char* hook, const std::vector<std::string>& arguments) const {
  std::string call = hook;
  for (const std::string& argument : arguments) {
    call += ' ' + argument;
  }
  {
    const std::lock_guard<std::mutex> lock(stateMutex);
    calls.push_back(call);
  }
  if (onCall) {
    onCall(call);
  }
}

std::string MinimalEngine::xGetName() const {
  note("xGetName");
  return name;
}

bool MinimalEngine::xInitialize(const std::vector<zu::PackageInfo>& installed) {
  packages = installed;
  note("xInitialize");
  return initializeResult;
}

bool MinimalEngine::xTerminate() {
  note("xTerminate");
  return terminateResult;
}

void MinimalEngine::xStartSynthetizer(const std::string& text) {
  note("xStartSynthetizer", {text});
}

void MinimalEngine::xStopSynthetizer() {
  note("xStopSynthetizer");
}

void MinimalEngine::xPauseSynthetizer() {
  note("xPauseSynthetizer");
}

void MinimalEngine::xRestartSynthetizer() {
  note("xRestartSynthetizer");
}

void MinimalEngine::xSetParameter(const std::string& parameterName, const float& value) {
  note("xSetParameter", {parameterName, toText(value)});
}

void MinimalEngine::xResetSpeed() {
  note("xResetSpeed");
}

float MinimalEngine::xGetParameter(const std::string& parameterName) const {
  note("xGetParameter", {parameterName});
  return parameter;
}

void MinimalEngine::xSetCurrentLanguage(const std::string& language) {
  note("xSetCurrentLanguage", {language});
  const std::lock_guard<std::mutex> lock(stateMutex);
  currentLanguage = language;
}

void MinimalEngine::xSetCurrentVoice(const std::string& voice) {
  note("xSetCurrentVoice", {voice});
}

std::vector<std::string> MinimalEngine::xGetOldLanguagesDetected() const {
  note("xGetOldLanguagesDetected");
  return oldLanguages;
}

std::map<std::string, std::string> MinimalEngine::xGetAvailableVoices() const {
  note("xGetAvailableVoices");
  return voices;
}

std::vector<std::string> MinimalEngine::xGetAvailableLanguages() const {
  note("xGetAvailableLanguages");
  return languages;
}

std::vector<std::string> MinimalEngine::xGetAvailableParameters() const {
  note("xGetAvailableParameters");
  return parameters;
}

int MinimalEngine::xGetCurrentSamplingRate() const {
  note("xGetCurrentSamplingRate");
  return samplingRate;
}

int MinimalEngine::xTestTextEncoding(const std::string& first, const std::string& second) {
  note("xTestTextEncoding", {first, second});
  return encodingResult;
}

std::string MinimalEngine::xGetCurrentLanguage() const {
  note("xGetCurrentLanguage");
  const std::lock_guard<std::mutex> lock(stateMutex);
  return currentLanguage;
}

FakeEngine::~FakeEngine() = default;

std::map<std::string, std::string> FakeEngine::xGetAllAvailableVoices() const {
  note("xGetAllAvailableVoices");
  return allVoices;
}

std::string FakeEngine::xGetVoiceInstallDir(const std::string& voice) const {
  note("xGetVoiceInstallDir", {voice});
  return voiceFolder;
}

std::string FakeEngine::xGetCurrentVoice() const {
  note("xGetCurrentVoice");
  return currentVoice;
}

std::string FakeEngine::xGetDefaultVoiceForLanguage(const std::string& language) const {
  note("xGetDefaultVoiceForLanguage", {language});
  return defaultVoice;
}

void FakeEngine::xLoadDictionary() {
  note("xLoadDictionary");
}

void FakeEngine::xUnloadDictionary() {
  note("xUnloadDictionary");
}

void FakeEngine::xShowDictionary() {
  note("xShowDictionary");
}

bool FakeEngine::xDeleteFromDictionary(const std::string& first, const std::string& second) {
  note("xDeleteFromDictionary", {first, second});
  return dictionaryResult;
}

bool FakeEngine::xAddToDictionary(const std::string& first, const std::string& second,
                                  const std::string& third, const std::string& fourth,
                                  const std::string& fifth) {
  note("xAddToDictionary", {first, second, third, fourth, fifth});
  return dictionaryResult;
}

void FakeEngine::xSetDefaultVoice() {
  note("xSetDefaultVoice");
}

void FakeEngine::xApplyEffect(const std::string& effect, bool flag) {
  note("xApplyEffect", {effect, flag ? "on" : "off"});
}

void FakeEngine::xLoadEffect(const boost::filesystem::path& file) {
  note("xLoadEffect", {file.string()});
}

}  // namespace test
