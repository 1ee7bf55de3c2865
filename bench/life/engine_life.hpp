#pragma once

#include <string>
#include <vector>

namespace bench {

/// The memory of the process, in bytes.
struct Memory {
  double allocated;  ///< reported by mallinfo2()
  double resident;   ///< reported by /proc/self/smaps_rollup
};

/// The memory at two moments of an engine's life.
struct Growth {
  Memory early;
  Memory late;
};

/// An engine that is used through the manager.
struct LivingEngine {
  std::string plugin;   ///< "nuance"
  std::string package;  ///< the folder of a package for English
  std::string voice;
};

/// All engines of this tree.
/// \param data  the folder of packages
std::vector<LivingEngine> livingEngines(const std::string& data);

/// The memory after `early` short utterances, and after `late` of them in all.
/// \throws std::runtime_error when the engine cannot be used
Growth growthOverUtterances(const LivingEngine& engine, int early, int late);

/// The memory after `early` rounds, and after `late` rounds in all. In each round the engine is
/// initialised, speaks once and is terminated.
/// \throws std::runtime_error when the engine cannot be used
Growth growthOverLives(const LivingEngine& engine, int early, int late);

}  // namespace bench
