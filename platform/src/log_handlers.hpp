#pragma once

#include <zu/log.hpp>

namespace zu::log {

/// Shows a record to all handlers that are there now, except those that this thread is in already.
void showToHandlers(const Record& record);

}  // namespace zu::log
