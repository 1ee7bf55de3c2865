#pragma once

#include <string>
#include <vector>

namespace bench {

/// What the process has, in bytes.
struct Memory {
  double allocated;  ///< by mallinfo2()
  double resident;   ///< by /proc/self/smaps_rollup
};

/// Memory at two moments of an engine's life.
struct Growth {
  Memory early;
  Memory late;
};

/// An engine that is used through the manager.
struct LivingEngine {
  std::string plugin;   ///< "nuance"
  std::string package;  ///< of English
  std::string voice;
};

/// All that there are.
/// \param data  the folder of packages
std::vector<LivingEngine> livingEngines(const std::string& data);

/// The memory after so many short utterances, and after so many in all.
/// \throws std::runtime_error when the engine cannot be used
Growth growthOverUtterances(const LivingEngine& engine, int early, int late);

/// The memory after so many rounds in which the engine is initialised, speaks once and is terminated,
/// and after so many in all.
/// \throws std::runtime_error when the engine cannot be used
Growth growthOverLives(const LivingEngine& engine, int early, int late);

}  // namespace bench
