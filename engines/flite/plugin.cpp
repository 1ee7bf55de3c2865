#include <memory>

#include "flite/flite_synthesizer.hpp"
#include "support/plugin_entries.hpp"

KQ::engines::EngineTraits KQ::engines::pluginTraits() {
  EngineTraits traits;
  traits.name = fliteName;
  traits.packageEngine = "flite";
  traits.minimumVersion = "1.0";
  traits.logCategory = "engine.flite";
  traits.openSynthesizer = [] { return std::make_shared<FliteSynthesizer>(); };
  return traits;
}
