#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "probe/probe.hpp"
#include "say/host_session.hpp"

namespace tool {

/// What a manager with all engines reports to its host.
struct SessionFacts {
  std::vector<EngineFacts> engines;  ///< in the order of merging
  std::vector<std::string> languages;
  std::map<std::string, std::string> routes;          ///< language to plug-in
  std::map<std::string, std::string> voiceLanguages;  ///< voice to language
  std::vector<std::string> outdated;                  ///< languages
  std::string language;                               ///< the default language

  bool offers(const std::string& spoken) const;
  const EngineFacts* engineOf(const std::string& spoken) const;
  bool isOutdated(const std::string& spoken) const;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(SessionFacts, engines, languages, routes, voiceLanguages,
                                   outdated, language)

/// A request that the manager is tried with.
struct Trial {
  std::string language;  ///< chosen unless ""
  std::string voice;     ///< chosen unless ""
  bool speaks = false;   ///< whether it also speaks
};

/// The result of a trial.
struct TrialResult {
  std::string language;
  std::string voice;
  std::string error;   ///< "" if the manager accepted all
  bool sound = false;  ///< whether the engine emitted audio
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TrialResult, language, voice, error, sound)

/// The result of running all engines together.
struct SessionReport {
  Probe probe;
  bool running = false;  ///< whether a host can start
  SessionFacts facts;    ///< of a running one
  std::string trying;    ///< the last language or voice that was tried
  std::vector<TrialResult> trials;
};

/// Starts a host with all installed engines and packages and tries it.
/// \param trials  what to try, given the facts; called in the child process
SessionReport probeSession(const HostOptions& options,
                           const std::function<std::vector<Trial>(const SessionFacts&)>& trials,
                           std::chrono::milliseconds deadline);

}  // namespace tool
