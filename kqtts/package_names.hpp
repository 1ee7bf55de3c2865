#pragma once

#include <array>

/// The names of files and settings in a data package, which engines and hosts read:
///
///     PACKAGE/manifest.xml                     uuid, version, engine, language, defaultVoice
///     PACKAGE/voices/VOICE/voice.xml           sourceVoice
///     PACKAGE/voices/VOICE/voiceSettings.xml   optional preferences
namespace KQ::package_names {

constexpr const char* manifestFile = "manifest.xml";            ///< describes the package
constexpr const char* voicesFolder = "voices";                  ///< has a folder for each voice
constexpr const char* voiceFile = "voice.xml";                  ///< describes the voice
constexpr const char* voiceSettingsFile = "voiceSettings.xml";  ///< the voice's preferences

constexpr const char* uuid = "uuid";                  ///< identifies the package
constexpr const char* version = "version";            ///< of the package
constexpr const char* engine = "engine";              ///< the engine that takes the package
constexpr const char* language = "language";          ///< the language of its voices
constexpr const char* defaultVoice = "defaultVoice";  ///< the voice chosen at first; optional

/// All settings of a manifest.
constexpr std::array<const char*, 5> manifestSettings = {uuid, version, engine, language,
                                                         defaultVoice};

constexpr const char* sourceVoice = "sourceVoice";  ///< the synthesiser's own name for a voice

}  // namespace KQ::package_names
