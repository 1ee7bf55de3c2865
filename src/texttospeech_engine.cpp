#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/thread/lock_types.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kqtts/package_names.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <utility>

#include "log_sites.hpp"
#include "shared_flag.hpp"
#include "xml_settings.hpp"

namespace KQ {

namespace {

const LogCategory category(sites::engineCategory);

constexpr const char* moduleName = "TextToSpeechEngine";
constexpr const char* fallbackLanguage = "English";

/// A separate function, so that an operation has nothing to clean up: it then jumps to its hook and
/// needs no stack frame.
[[noreturn, gnu::cold, gnu::noinline]] void throwNotActive(const char* method) {
  throw KQError(moduleName, method, "This engine is not active.", nullptr, 0);
}

}  // namespace

// `reserved` stays unset: nothing reads it.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init,hicpp-member-init)
TextToSpeechEngine::TextToSpeechEngine(TextToSpeechEngineCallbackInterface* callback,
                                       boost::shared_ptr<TTSLanguageInfo> languageInfo)
    : languageInfo(std::move(languageInfo)),
      active(false),
      talking(false),
      paused(false),
      reservedFirst(false),
      reservedSecond(false),
      callback(callback),
      filterEnabled(true) {}

TextToSpeechEngine::~TextToSpeechEngine() = default;

void TextToSpeechEngine::requireActive(const char* method) const {
  if (!readFlag(active)) {
    throwNotActive(method);
  }
}

void TextToSpeechEngine::logMissing(MissingFeature feature) {
  switch (feature) {
    case MissingFeature::dictionary:
      return log(sites::noDictionary, "No dictionary available for this language");
    case MissingFeature::defaultVoice:
      return log(sites::noDefaultVoice,
                 "No default voice available for the current language. Keep the current voice");
    case MissingFeature::applyEffect:
      return log(sites::noEffectToApply, "No effect available for this language");
    case MissingFeature::loadEffect:
      return log(sites::noEffectToLoad, "No effect available for this language");
  }
}

void TextToSpeechEngine::deactivateLanguages(const std::vector<std::string>& /*languages*/) {}

void TextToSpeechEngine::enableFilter(bool enable) {
  writeFlag(filterEnabled, enable);
}

// Life cycle ----------------------------------------------------------------------------------

bool TextToSpeechEngine::initialize(const std::vector<zu::PackageInfo>& packages) {
  if (readFlag(active)) {
    log(sites::initializeActive,
        "initialize(): Cannot initialize an engine that is already active.");
    return true;
  }
  const bool initialized = xInitialize(packages);
  writeFlag(active, initialized);
  return initialized;
}

bool TextToSpeechEngine::terminate() {
  if (!readFlag(active)) {
    log(sites::terminateInactive, "terminate(): Cannot terminate an engine that is not active.");
    return true;
  }
  const bool terminated = xTerminate();
  writeFlag(active, !terminated);
  return terminated;
}

void TextToSpeechEngine::reload(const std::vector<zu::PackageInfo>& packages, bool& fallbackUsed,
                                std::string& requestedLanguage) {
  const std::string previous = getCurrentLanguage();
  terminate();
  initialize(packages);
  if (previous.empty()) {
    return;
  }
  std::string target = previous;
  if (fallbackUsed && !requestedLanguage.empty()) {
    target = requestedLanguage;
    log(sites::reloadRequested,
        "Try to reset the asked language before fallback: " + requestedLanguage);
  }
  try {
    setCurrentLanguage(target);
    fallbackUsed = false;
    requestedLanguage.clear();
  } catch (const KQError&) {
    // The text names the previous language even if another one was tried: consumers match on it.
    log(sites::reloadFallback, "Cannot set : " + previous + ". Fallbacks to english.");
    setCurrentLanguage(fallbackLanguage);
    fallbackUsed = true;
    if (requestedLanguage.empty()) {
      requestedLanguage = previous;
    }
  }
}

bool TextToSpeechEngine::isInitialized() const {
  return readFlag(active);
}

bool TextToSpeechEngine::isPaused() const {
  return readFlag(paused);
}

std::string TextToSpeechEngine::getName() const {
  return xGetName();
}

// Synthesis -----------------------------------------------------------------------------------

// Method texts that name another operation are part of the contract; consumers match on them.

void TextToSpeechEngine::startSynthetizer(const std::string& text) {
  requireActive("startTalking");
  writeFlag(talking, true);
  xStartSynthetizer(text);
  writeFlag(talking, false);
}

void TextToSpeechEngine::stopSynthetizer() {
  const boost::unique_lock<boost::mutex> lock(mutex);
  requireActive("stopSynthetizer");
  xStopSynthetizer();
  writeFlag(talking, false);
}

void TextToSpeechEngine::pauseSynthetizer() {
  const boost::unique_lock<boost::mutex> lock(mutex);
  if (readFlag(paused)) {
    return;
  }
  requireActive("pauseSynthetizer");
  xPauseSynthetizer();
  writeFlag(paused, true);
}

void TextToSpeechEngine::restartSynthetizer() {
  const boost::unique_lock<boost::mutex> lock(mutex);
  if (!readFlag(paused)) {
    return;
  }
  requireActive("restartSynthetizer");
  writeFlag(paused, false);
  xRestartSynthetizer();
}

// Parameters ----------------------------------------------------------------------------------

void TextToSpeechEngine::resetSpeed() {
  requireActive("setParameter");
  xResetSpeed();
}

void TextToSpeechEngine::setParameter(const std::string& name, const float& value) {
  requireActive("setParameter");
  xSetParameter(name, value);
}

float TextToSpeechEngine::getParameter(const std::string& name) const {
  requireActive("getParameter");
  return xGetParameter(name);
}

std::vector<std::string> TextToSpeechEngine::getAvailableParameters() const {
  return xGetAvailableParameters();
}

int TextToSpeechEngine::getCurrentSamplingRate() const {
  requireActive("startTalking");
  return xGetCurrentSamplingRate();
}

int TextToSpeechEngine::testTextEncoding(const std::string& first, const std::string& second) {
  requireActive("startTalking");
  return xTestTextEncoding(first, second);
}

// Languages and voices ------------------------------------------------------------------------

void TextToSpeechEngine::setCurrentLanguage(const std::string& language) {
  requireActive("setCurrentLanguage");
  const std::vector<std::string> languages = getAvailableLanguages();
  if (std::find(languages.begin(), languages.end(), language) == languages.end()) {
    throw KQError(xGetName(), "setCurrentLanguage",
                  "This engine does not support the following language: " + language, nullptr, 0);
  }
  xSetCurrentLanguage(language);
  log(sites::languageSet, "Language " + language + " set\n");
}

std::string TextToSpeechEngine::getCurrentLanguage() const {
  requireActive("getCurrentLanguage");
  return xGetCurrentLanguage();
}

void TextToSpeechEngine::setCurrentVoice(const std::string& voice) {
  requireActive("getCurrentLanguage");
  const std::map<std::string, std::string> voices = getAllAvailableVoices();
  if (voices.find(voice) == voices.end()) {
    throw KQError(moduleName, "setCurrentLanguage",
                  "The voice " + voice + " is not installed or not supported.", nullptr, 0);
  }
  xSetCurrentVoice(voice);
}

std::string TextToSpeechEngine::getCurrentVoice() const {
  requireActive("getCurrentVoice");
  return xGetCurrentVoice();
}

std::string TextToSpeechEngine::getDefaultVoiceForLanguage(const std::string& language) const {
  requireActive("getDefaultVoiceForLanguage");
  return xGetDefaultVoiceForLanguage(language);
}

std::vector<std::string> TextToSpeechEngine::getAvailableLanguages() const {
  requireActive("getAvailableLanguages");
  return xGetAvailableLanguages();
}

std::map<std::string, std::string> TextToSpeechEngine::getAvailableVoices() const {
  requireActive("getAvailableVoices");
  return xGetAvailableVoices();
}

std::map<std::string, std::string> TextToSpeechEngine::getAllAvailableVoices() const {
  requireActive("getAllAvailableVoices");
  return xGetAllAvailableVoices();
}

std::vector<std::string> TextToSpeechEngine::getOldLanguagesDetected() const {
  return xGetOldLanguagesDetected();
}

std::string TextToSpeechEngine::getVoiceInstallDir(const std::string& voice) const {
  requireActive("getVoiceInstallDir");
  return xGetVoiceInstallDir(voice);
}

void TextToSpeechEngine::setDefaultVoice() {
  requireActive("AddToDictionary");
  xSetDefaultVoice();
}

// Optional features ---------------------------------------------------------------------------

void TextToSpeechEngine::loadDictionary() {
  requireActive("loadDictionary");
  xLoadDictionary();
}

void TextToSpeechEngine::unloadDictionary() {
  requireActive("UnloadDictionary");
  xUnloadDictionary();
}

void TextToSpeechEngine::showDictionary() {
  requireActive("ShowDictionary");
  xShowDictionary();
}

bool TextToSpeechEngine::deleteFromDictionary(const std::string& first, const std::string& second) {
  requireActive("DeleteFromDictionary");
  return xDeleteFromDictionary(first, second);
}

bool TextToSpeechEngine::addToDictionary(const std::string& first, const std::string& second,
                                         const std::string& third, const std::string& fourth,
                                         const std::string& fifth) {
  requireActive("AddToDictionary");
  return xAddToDictionary(first, second, third, fourth, fifth);
}

void TextToSpeechEngine::applyEffect(const std::string& effect, bool flag) {
  xApplyEffect(effect, flag);
}

void TextToSpeechEngine::loadEffect(const boost::filesystem::path& file) {
  std::cout << "Engine load effect " << file << std::endl;
  xLoadEffect(file);
}

// Voice description files ---------------------------------------------------------------------

std::string TextToSpeechEngine::getParamFromXml(const std::string& paramName,
                                                const boost::filesystem::path& file) const {
  std::string result;
  if (file.empty()) {
    return result;
  }
  boost::system::error_code error;
  const boost::filesystem::file_type type = boost::filesystem::status(file, error).type();
  if (type == boost::filesystem::status_error || type == boost::filesystem::file_not_found) {
    return result;
  }
  forEachXmlSetting(file, [&](const std::string& name, const std::string& value) {
    if (name == paramName) {
      result = value;
    }
  });
  return result;
}

std::string TextToSpeechEngine::getVoiceNameFromXml(const boost::filesystem::path& file) const {
  return getParamFromXml(package_names::sourceVoice, file);
}

}  // namespace KQ
