#include "text/log_level.hpp"

#include <algorithm>
#include <boost/algorithm/string/join.hpp>

namespace tool {

const std::vector<std::string>& logLevelNames() {
  static const std::vector<std::string> names = {"silent", "fatal",   "error", "warning",
                                                 "info",   "verbose", "debug"};
  return names;
}

const std::string& nameOf(zu::log::Level level) {
  return logLevelNames()[static_cast<std::size_t>(level)];
}

std::optional<zu::log::Level> logLevelOf(const std::string& name) {
  const auto& names = logLevelNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) {
    return std::nullopt;
  }
  return static_cast<zu::log::Level>(found - names.begin());
}

std::string logLevelList() {
  const auto& names = logLevelNames();
  const std::vector<std::string> allButLast(names.begin(), names.end() - 1);
  return boost::algorithm::join(allButLast, ", ") + " or " + names.back();
}

}  // namespace tool
