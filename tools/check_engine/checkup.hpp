#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "check_engine/checks.hpp"
#include "check_engine/examination.hpp"

namespace tool {

/// The result of one check.
struct CheckOutcome {
  enum class Status { passed, failed, notRun };

  explicit CheckOutcome(const Check& what) : check(&what) {}

  const Check* check;
  Status status = Status::notRun;
  std::vector<std::string> findings;  ///< where the engine breaks the contract
  std::vector<std::string> notes;     ///< worth knowing
  std::string reason;                 ///< why it was not run
  bool complete = false;              ///< whether it finished, so that other checks can follow
  std::chrono::milliseconds duration{0};
};

/// A plug-in and the results of its checks.
struct Checkup {
  std::string plugin;
  std::vector<CheckOutcome> outcomes;

  std::size_t count(CheckOutcome::Status status) const;
};

/// "passed", "failed" or "not run".
const char* nameOf(CheckOutcome::Status status);

/// Runs checks, each in a process of its own. Before each it runs the check that it needs.
/// \param names  the checks to run; empty for all
/// \throws UsageError if there is no check of that name
Checkup checkEngine(const Candidate& candidate, const std::vector<std::string>& names);

}  // namespace tool
