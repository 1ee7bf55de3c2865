#pragma once

#include <string>
#include <zu/log.hpp>

namespace KQ {

/// The source of a message, as its record reports it. Consumers filter on every field, so these are
/// constants and not the real places of the statements.
struct LogSite {
  zu::log::Level level;
  const char* category;
  const char* file;
  const char* function;
  int line;  ///< 0 means the real line of the statement
};

namespace sites {

using zu::log::Level;

inline constexpr const char* engineCategory = "texttospeechengine";
inline constexpr const char* engineHeaderCategory = "kqtexttospeechengine";
inline constexpr const char* managerCategory = "audio.texttospeechmanager";
inline constexpr const char* preferenceCategory = "tts.preference";

inline constexpr const char* engineFile = "perception/audio/libkqtts/src/texttospeech_engine";
inline constexpr const char* engineHeaderFile = "kqtts/texttospeech_engine";
inline constexpr const char* managerFile = "perception/audio/libkqtts/src/texttospeech_manager";
inline constexpr const char* pluginFile = "perception/audio/libkqtts/src/tts_plugin_manager";
inline constexpr const char* languageFile = "perception/audio/libkqtts/src/tts_language_info";
inline constexpr const char* preferenceFile = "perception/audio/libkqtts/src/tts_preference";

// clang-format off
inline constexpr LogSite reloadRequested   {Level::info,    engineCategory,             engineFile,       "reload",                   41};
inline constexpr LogSite reloadFallback    {Level::warning, engineCategory,             engineFile,       "reload",                   53};
inline constexpr LogSite initializeActive  {Level::verbose, engineCategory,             engineFile,       "initialize",               77};
inline constexpr LogSite terminateInactive {Level::verbose, "audio.TextToSpeechEngine", engineFile,       "terminate",                96};
inline constexpr LogSite languageSet       {Level::verbose, engineCategory,             engineFile,       "setCurrentLanguage",       226};
inline constexpr LogSite noDictionary      {Level::warning, engineHeaderCategory,       engineHeaderFile, "logWarningUserDictionary", 86};
inline constexpr LogSite noDefaultVoice    {Level::warning, engineHeaderCategory,       engineHeaderFile, "xSetDefaultVoice",         142};
inline constexpr LogSite noEffectToApply   {Level::warning, engineHeaderCategory,       engineHeaderFile, "xApplyEffect",             146};
inline constexpr LogSite noEffectToLoad    {Level::warning, engineHeaderCategory,       engineHeaderFile, "xLoadEffect",              149};
inline constexpr LogSite pluginNotFound    {Level::warning, "kqtts",                    pluginFile,       "load",                     48};
inline constexpr LogSite libraryNotLoaded  {Level::warning, "audio.kqtts",              pluginFile,       "load",                     55};
inline constexpr LogSite entryPointMissing {Level::warning, "audio.kqtts",              pluginFile,       "load",                     64};
inline constexpr LogSite initializeRefused {Level::verbose, managerCategory,            managerFile,      "xLoadPlugin",              0};
inline constexpr LogSite nothingToUnload   {Level::verbose, managerCategory,            managerFile,      "xUnloadPlugin",            0};
inline constexpr LogSite builtInLanguage   {Level::info,    preferenceCategory,         languageFile,     "TTSLanguageInfo",          55};
inline constexpr LogSite settingsNotOpened {Level::error,   preferenceCategory,         preferenceFile,   "writeVoiceSettingInXml",   0};
// clang-format on

}  // namespace sites

/// Emits a message with the source `site`.
void log(const LogSite& site, const std::string& message, int line = __builtin_LINE());

/// Registers a log category when the library that holds it is loaded.
struct LogCategory {
  explicit LogCategory(const char* name) { zu::log::registerCategory(name); }
};

}  // namespace KQ
