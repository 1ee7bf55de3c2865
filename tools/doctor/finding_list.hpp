#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "doctor/findings.hpp"

namespace tool {

struct PluginReport;
struct Probe;

/// Takes the findings of one installation, section by section.
class FindingList {
 public:
  explicit FindingList(const Installation& examined);

  /// What is added from here on belongs to this section.
  void begin(const std::string& name) { section = name; }

  void add(Severity severity, const std::string& cause, const std::string& text,
           const std::string& whatToDo, const std::vector<std::string>& details = {});

  /// How bad it is that an engine, a package or a language cannot be used.
  Severity bad() const { return severityOfDefects; }

  bool holdsProblem() const;
  const std::vector<Finding>& findings() const { return all; }

 private:
  const Severity severityOfDefects;
  std::string section;
  std::vector<Finding> all;
};

/// \name The sections
/// @{
void explainPlugins(const Installation& installation, FindingList& list);
void explainPackages(const Installation& installation, FindingList& list);
void explainLanguages(const Installation& installation, FindingList& list);
void explainEnvironment(const Installation& installation, FindingList& list);
/// @}

/// How a probe failed.
struct Mishap {
  std::string cause;  ///< the end of a cause's name
  std::string text;   ///< "did not come back in time"
  std::vector<std::string> details;
};

Mishap mishapOf(const Probe& probe);

/// What was logged while a plug-in started.
std::vector<std::string> complaintsOf(const PluginReport& plugin);

/// "1 package", "2 packages"
std::string counted(std::size_t count, const std::string& noun);

/// A text in quotation marks.
std::string quoted(const std::string& text);

}  // namespace tool
