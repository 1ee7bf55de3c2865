#pragma once

#include <array>
#include <string_view>
#include <zu/log.hpp>

namespace zu::log {

/// The names of the levels, in their order.
inline constexpr std::array<std::string_view, 7> levelNames{"silent", "fatal",   "error", "warning",
                                                            "info",   "verbose", "debug"};

/// Writes a record to standard error as one line, whatever its texts contain. Thread-safe. Ignores
/// a failure to write.
void printRecord(const Record& record);

}  // namespace zu::log
