#pragma once

#include <string>
#include <vector>

namespace tool {

struct Installation;

/// How much a finding matters.
enum class Severity {
  ok,       ///< as it should be
  note,     ///< good to know
  warning,  ///< not as it should be, and yet there is speech
  problem   ///< keeps an installation silent
};

const char* nameOf(Severity severity);

/// Something that a person is told about an installation.
struct Finding {
  Severity severity;
  std::string section;   ///< "plug-ins", "packages", "languages", "audio" or "environment"
  std::string cause;     ///< a fixed name, as docs/doctor.md lists them
  std::string text;      ///< one sentence
  std::string whatToDo;  ///< "" when there is nothing to do
  std::vector<std::string> details = {};  ///< what engines and the system said
};

/// Explains an installation. There is a problem in it exactly if it cannot speak.
std::vector<Finding> explainInstallation(const Installation& installation);

}  // namespace tool
