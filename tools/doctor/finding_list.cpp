#include "doctor/finding_list.hpp"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "probe/installation.hpp"
#include "text/log_level.hpp"

namespace tool {

namespace {

/// The last lines of a text.
std::vector<std::string> lastLines(const std::string& text) {
  constexpr std::size_t kept = 3;
  std::vector<std::string> lines;
  boost::split(lines, text, boost::is_any_of("\n"));
  lines.erase(std::remove(lines.begin(), lines.end(), ""), lines.end());
  if (lines.size() > kept) {
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(kept));
  }
  return lines;
}

}  // namespace

FindingList::FindingList(const Installation& examined)
    : severityOfDefects(examined.canSpeak() ? Severity::warning : Severity::problem) {}

void FindingList::add(Severity severity, const std::string& cause, const std::string& text,
                      const std::string& whatToDo, const std::vector<std::string>& details) {
  all.push_back({severity, section, cause, text, whatToDo, details});
}

bool FindingList::holdsProblem() const {
  return std::any_of(all.begin(), all.end(),
                     [](const Finding& finding) { return finding.severity == Severity::problem; });
}

Mishap mishapOf(const Probe& probe) {
  using End = ChildResult::End;
  if (!probe.exception.empty()) {
    return {"threw", "threw an exception", {probe.exception}};
  }
  const std::string story = probe.child.story();
  const std::vector<std::string> details = lastLines(probe.child.errors);
  if (probe.child.end == End::hung) {
    return {"hung", story, details};
  }
  if (probe.child.end == End::exited) {
    return {"exited", story, details};
  }
  return {"crashed", story, details};
}

std::vector<std::string> complaintsOf(const PluginReport& plugin) {
  std::vector<std::string> lines;
  for (const LogLine& line : plugin.probe.log) {
    const bool isStart = line.step == steps::create || line.step == steps::initialize;
    if (isStart && logLevelOf(line.level) <= zu::log::Level::warning) {
      lines.push_back(line.category + ": " + line.message);
    }
  }
  return lines;
}

std::string counted(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

}  // namespace tool
