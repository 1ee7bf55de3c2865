#pragma once

#include "engine/speech_engine.hpp"

namespace KQ::engines {

/// What a plug-in defines: the traits of its engine. The entries by which it is loaded and unloaded
/// are in every one of them.
EngineTraits pluginTraits();

}  // namespace KQ::engines
