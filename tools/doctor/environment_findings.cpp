#include <sys/auxv.h>
#include <sys/stat.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "doctor/finding_list.hpp"
#include "probe/installation.hpp"
#include "text/log_level.hpp"

namespace tool {

namespace {

/// Explains the variables that matter.
class EnvironmentFindings {
 public:
  EnvironmentFindings(const Installation& examined, FindingList& findings)
      : installation(examined), list(findings) {}

  void explain() {
    for (const auto& [name, value] : installation.environment) {
      if (!value) {
        continue;
      }
      if (name == "ZU_LIBRARY_PATH") {
        explainPath(name, *value, "library-path-missing");
      }
      if (name == "KQTTS_PACKAGE_PATH") {
        explainPath(name, *value, "package-path-missing");
      }
      if (name == "ZU_LOG_LEVEL") {
        explainLogLevel(*value);
      }
    }
    if (getauxval(AT_SECURE) != 0) {
      list.add(
          Severity::note, "environment-ignored",
          "the program runs with raised rights, so search paths of the environment are ignored",
          "");
    }
  }

 private:
  void explainPath(const std::string& name, const std::string& value, const char* cause) {
    const std::string names = name + " names ";
    std::vector<std::string> folders;
    boost::split(folders, value, boost::is_any_of(":"));
    for (const std::string& folder : folders) {
      struct stat status {};
      const bool isFolder = stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
      if (!folder.empty() && !isFolder) {
        list.add(list.bad(), cause, names + folder + ", which is no folder",
                 "correct or unset the variable");
      }
    }
  }

  void explainLogLevel(const std::string& value) {
    const auto level = logLevelOf(value);
    if (!level) {
      list.add(Severity::warning, "log-level-unknown",
               "ZU_LOG_LEVEL is " + quoted(value) + ", which is no level",
               "set it to " + logLevelList());
    } else if (*level < zu::log::Level::warning) {
      list.add(Severity::note, "log-level-hides",
               "ZU_LOG_LEVEL is " + quoted(value) +
                   ": the warnings that tell of broken plug-ins are not shown",
               "set it to warning while you look for a fault");
    }
  }

  const Installation& installation;
  FindingList& list;
};

}  // namespace

void explainEnvironment(const Installation& installation, FindingList& list) {
  EnvironmentFindings(installation, list).explain();
}

}  // namespace tool
