#pragma once

#include "engine/speech_engine.hpp"

namespace KQ::engines {

/// Returns the traits of the plug-in's engine. Each plug-in defines this function; its entry points
/// are in plugin_entries.cpp.
EngineTraits pluginTraits();

}  // namespace KQ::engines
