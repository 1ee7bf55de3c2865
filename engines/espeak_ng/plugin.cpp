#include <memory>

#include "engine/plugin_entries.hpp"
#include "espeak_ng/espeak_synthesizer.hpp"

KQ::engines::EngineTraits KQ::engines::pluginTraits() {
  EngineTraits traits;
  traits.name = espeakName;
  traits.packageEngine = "espeak-ng";
  traits.minimumVersion = "1.0";
  traits.logCategory = espeakLogCategory;
  traits.openSynthesizer = [] { return std::make_shared<EspeakSynthesizer>(); };
  traits.moreParameters = EspeakSynthesizer::ownParameters();
  return traits;
}
