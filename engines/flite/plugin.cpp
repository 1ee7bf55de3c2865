#include <memory>

#include "engine/plugin_entries.hpp"
#include "flite/flite_synthesizer.hpp"

KQ::engines::EngineTraits KQ::engines::pluginTraits() {
  EngineTraits traits;
  traits.name = fliteName;
  traits.packageEngine = "flite";
  traits.minimumVersion = "1.0";
  traits.logCategory = "engine.flite";
  traits.openSynthesizer = [] { return std::make_shared<FliteSynthesizer>(); };
  traits.moreParameters = FliteSynthesizer::ownParameters();
  return traits;
}
