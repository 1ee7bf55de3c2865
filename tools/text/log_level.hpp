#pragma once

#include <optional>
#include <string>
#include <vector>
#include <zu/log.hpp>

namespace tool {

/// The names of the log levels, as ZU_LOG_LEVEL and --log-level take them: each level's name at the
/// index of its value.
const std::vector<std::string>& logLevelNames();

const std::string& nameOf(zu::log::Level level);

/// The level of a name that is in logLevelNames(), or none.
std::optional<zu::log::Level> logLevelOf(const std::string& name);

/// "silent, fatal, error, warning, info, verbose or debug"
std::string logLevelList();

}  // namespace tool
