#pragma once

#include <array>
#include <string>

/// The names of engine plug-ins and of their libraries.
namespace KQ::plugin_names {

constexpr const char* aitalk = "aitalk";
constexpr const char* log = "log";
constexpr const char* nuance = "nuance";

/// The plug-ins that a TextToSpeechManager loads, in the order in which it merges what they offer:
/// if several of them offer a language, the last one serves it.
constexpr std::array<const char*, 3> all = {aitalk, log, nuance};

/// The library names of a plug-in, without suffix. The framework's library search is asked for each
/// in turn; the first library found is the plug-in.
/// \param plugin  its name, for example "nuance"
inline std::array<std::string, 2> librariesOf(const std::string& plugin) {
  return {"kqtts/libkqtts-" + plugin, "kqtts/kqtts-" + plugin};
}

}  // namespace KQ::plugin_names
