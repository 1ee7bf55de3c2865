#pragma once

#include <array>
#include <string>

/// The names of engine plug-ins and of their libraries.
namespace KQ::plugin_names {

constexpr const char* aitalk = "aitalk";  ///< in this tree, the engine over Flite
constexpr const char* log = "log";        ///< in this tree, the engine that makes no sound
constexpr const char* nuance = "nuance";  ///< in this tree, the engine over eSpeak NG

/// The plug-ins that a TextToSpeechManager loads, in the order in which it merges what they offer:
/// if several of them offer a language, the last one serves it.
constexpr std::array<const char*, 3> all = {aitalk, log, nuance};

/// The library names of a plug-in, without suffix. The library search looks for them in this order,
/// and the first library that it finds is the plug-in.
/// \param plugin  its name, for example "nuance"
inline std::array<std::string, 2> librariesOf(const std::string& plugin) {
  return {"kqtts/libkqtts-" + plugin, "kqtts/kqtts-" + plugin};
}

}  // namespace KQ::plugin_names
