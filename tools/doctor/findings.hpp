#pragma once

#include <string>
#include <vector>

namespace tool {

struct Installation;

/// How much a finding matters.
enum class Severity {
  ok,       ///< all is well
  note,     ///< worth knowing
  warning,  ///< something is wrong, but speech is possible
  problem   ///< keeps an installation silent
};

const char* nameOf(Severity severity);

/// One thing that is right or wrong with an installation.
struct Finding {
  Severity severity;
  std::string section;   ///< "plug-ins", "packages", "languages", "audio" or "environment"
  std::string cause;     ///< a fixed name, as docs/doctor.md lists them
  std::string text;      ///< one sentence
  std::string whatToDo;  ///< "" if there is nothing to do
  std::vector<std::string> details = {};  ///< what engines and the system said
};

/// Explains an installation. The findings include a problem if, and only if, it cannot speak.
std::vector<Finding> explainInstallation(const Installation& installation);

}  // namespace tool
