#pragma once

#include <zu/log.hpp>

namespace zu::log {

/// Calls all handlers with a record, except those that this thread is already running.
void showToHandlers(const Record& record);

}  // namespace zu::log
