#include <memory>

#include "engine/plugin_entries.hpp"
#include "log/log_synthesizer.hpp"

KQ::engines::EngineTraits KQ::engines::pluginTraits() {
  EngineTraits traits;
  traits.name = logName;
  traits.packageEngine = "log";
  traits.minimumVersion = "1.0";
  traits.logCategory = logCategory;
  traits.openSynthesizer = [] { return std::make_shared<LogSynthesizer>(); };
  traits.moreParameters = LogSynthesizer::ownParameters();
  traits.isStandIn = true;
  return traits;
}
