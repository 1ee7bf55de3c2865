#include "check_engine/checkup.hpp"

#include <algorithm>
#include <iostream>
#include <set>

#include "probe/plugin_library.hpp"
#include "system/failure.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

using Status = CheckOutcome::Status;

std::set<std::string> withNeeds(const std::vector<std::string>& names) {
  std::set<std::string> wanted;
  const std::vector<Check>& checks = allChecks();
  for (std::string name : names) {
    while (!name.empty()) {
      const auto check = std::find_if(checks.begin(), checks.end(),
                                      [&](const Check& known) { return known.name == name; });
      if (check == checks.end()) {
        throw UsageError("there is no check '" + name + "'",
                         "'kqtts check-engine --list' shows what there is");
      }
      wanted.insert(name);
      name = check->needs;
    }
  }
  return wanted;
}

/// The child's side of a check.
void examine(const Check& check, const Candidate& candidate, ProbeChannel& channel) {
  const Examination exam(candidate, channel);
  try {
    check.run(exam);
  } catch (const Examination::Ended&) {
    // Its reason was sent.
  } catch (...) {
    exam.find("an operation threw " + describeException().withType());
  }
}

CheckOutcome judge(const Check& check, const Probe& probe) {
  CheckOutcome outcome(check);
  outcome.findings = probe.get<std::string>(messages::finding);
  outcome.notes = probe.get<std::string>(messages::note);
  for (const std::string& reason : probe.get<std::string>(messages::skipped)) {
    outcome.reason = reason;
  }
  const bool isFinished = probe.child.end == ChildResult::End::finished;
  outcome.complete =
      isFinished && outcome.reason.empty() && probe.facts.count(messages::broken) == 0;
  if (!isFinished) {
    const std::string step = probe.step.empty() ? "loading the plug-in" : probe.step;
    outcome.findings.push_back(step + ": the plug-in " + probe.child.story());
  }
  if (!outcome.findings.empty()) {
    outcome.status = Status::failed;
  } else if (outcome.reason.empty()) {
    outcome.status = Status::passed;
  }
  return outcome;
}

/// What the other checks' output says about standard output.
class OutputWatch {
 public:
  void see(const CheckOutcome& outcome, const std::string& output) {
    anyRun = anyRun || outcome.complete;
    if (output.empty()) {
      return;
    }
    std::string begin = output.substr(0, 60);
    makeSpeakable(begin);
    findings.push_back(std::string("during ") + outcome.check->name + ": \"" + oneLine(begin) +
                       "\"");
  }

  CheckOutcome outcome(const Check& check) const {
    CheckOutcome result(check);
    result.findings = findings;
    result.complete = anyRun;
    result.reason = anyRun ? "" : "no check came to its end";
    if (!findings.empty()) {
      result.status = Status::failed;
    } else if (anyRun) {
      result.status = Status::passed;
    }
    return result;
  }

 private:
  bool anyRun = false;
  std::vector<std::string> findings;
};

CheckOutcome run(const Check& check, const Candidate& candidate, OutputWatch& watch) {
  const auto begin = std::chrono::steady_clock::now();
  const Probe probe = runProbe([&](ProbeChannel& channel) { examine(check, candidate, channel); },
                               candidate.timeout, Logging::asUsual);
  std::cerr << probe.child.errors;
  CheckOutcome outcome = judge(check, probe);
  watch.see(outcome, probe.child.output);
  outcome.duration = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - begin);
  return outcome;
}

/// Why a check cannot be run after those before it; "" when it can.
std::string obstacle(const Check& check, const std::vector<CheckOutcome>& before) {
  for (const CheckOutcome& outcome : before) {
    if (outcome.complete || std::string(outcome.check->name) != check.needs) {
      continue;
    }
    if (outcome.status == Status::notRun) {
      return outcome.reason;
    }
    return std::string("it needs ") + check.needs + ", which did not come to its end";
  }
  return "";
}

}  // namespace

const char* nameOf(CheckOutcome::Status status) {
  switch (status) {
    case Status::passed:
      return "passed";
    case Status::failed:
      return "failed";
    case Status::notRun:
      break;
  }
  return "not run";
}

std::size_t Checkup::count(CheckOutcome::Status status) const {
  return static_cast<std::size_t>(
      std::count_if(outcomes.begin(), outcomes.end(),
                    [&](const CheckOutcome& outcome) { return outcome.status == status; }));
}

Checkup checkEngine(const Candidate& candidate, const std::vector<std::string>& names) {
  const std::set<std::string> wanted = withNeeds(names);
  Checkup checkup{candidate.plugin, {}};
  OutputWatch watch;
  for (const Check& check : allChecks()) {
    if (!wanted.empty() && wanted.count(check.name) == 0) {
      continue;
    }
    const std::string reason = obstacle(check, checkup.outcomes);
    if (check.run == nullptr) {
      checkup.outcomes.push_back(watch.outcome(check));
    } else if (reason.empty()) {
      checkup.outcomes.push_back(run(check, candidate, watch));
    } else {
      checkup.outcomes.emplace_back(check);
      checkup.outcomes.back().reason = reason;
    }
  }
  if (!checkup.outcomes.empty()) {
    const std::vector<std::string> notes = notesOnFileName(candidate.plugin);
    auto& shown = checkup.outcomes.front().notes;
    shown.insert(shown.end(), notes.begin(), notes.end());
  }
  return checkup;
}

}  // namespace tool
