#pragma once

#include <string>

// Files of names and values: manifests, voice descriptions, preferences, effects.
namespace test {

/// One setting. Neither text is escaped.
inline std::string setting(const std::string& name, const std::string& value) {
  return " <Setting name=\"" + name + "\" value=\"" + value + "\"/>\n";
}

/// The three settings of a double voice.
inline std::string doubleVoice(const std::string& pitch, const std::string& level,
                               const std::string& delay) {
  return setting("doubleVoice", pitch) + setting("doubleVoiceLevel", level) +
         setting("doubleVoiceTimeShift", delay);
}

/// A whole file.
inline std::string settingsFile(const std::string& settings) {
  return "<?xml version=\"1.0\"?>\n<Settings>\n" + settings + "</Settings>\n";
}

}  // namespace test
