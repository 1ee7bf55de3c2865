#pragma once

#include <string>
#include <zu/log.hpp>

namespace KQ::engines {

/// Logs a warning with the file, function and line of the caller.
inline void warn(const std::string& category, const std::string& message,
                 const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
                 int line = __builtin_LINE()) {
  zu::log::write(zu::log::Level::warning, category, message, file, function, line);
}

/// Logs information with the file, function and line of the caller.
inline void inform(const std::string& category, const std::string& message,
                   const char* file = __builtin_FILE(), const char* function = __builtin_FUNCTION(),
                   int line = __builtin_LINE()) {
  zu::log::write(zu::log::Level::info, category, message, file, function, line);
}

}  // namespace KQ::engines
