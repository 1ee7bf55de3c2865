#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>
#include <zu/export.hpp>

/// Logging by category. Any thread may call any function, also while a library is being loaded or
/// unloaded and while the process ends.
namespace zu::log {

/// A level enables records of that level and of the levels before it; `silent` enables none.
enum class Level { silent, fatal, error, warning, info, verbose, debug };

/// One message.
struct Record {
  Level level;                                 ///< never `silent`
  std::string category;                        ///< the part of the system that wrote the record
  std::string message;                         ///< unchanged; may contain line ends
  std::string file;                            ///< source file, or ""
  std::string function;                        ///< source function, or ""
  int line;                                    ///< source line
  std::chrono::system_clock::time_point time;  ///< time of writing
};

/// Registers a category. Does nothing if it is already registered.
ZU_EXPORT void registerCategory(const std::string& name);

/// All categories that were registered or written to, in byte order.
ZU_EXPORT std::vector<std::string> categories();

/// Sets the level of all categories, present and future. The initial level is the one that the
/// environment variable ZU_LOG_LEVEL names ("silent" ... "debug"), else `info`.
ZU_EXPORT void setLevel(Level level);

/// Sets the level of one category, registered or not.
ZU_EXPORT void setLevel(const std::string& category, Level level);

/// Whether a record of this level and category is enabled. Always false for `silent`.
ZU_EXPORT bool isEnabled(Level level, const std::string& category);

/// Emits a record to standard error and to all handlers, if it is enabled. On standard error the
/// record is one line: control characters and malformed UTF-8 are escaped, and a line feed at the
/// end of the message is dropped. Handlers receive the texts unchanged.
/// \param level           the record's level; a record of `silent` is never emitted
/// \param category        is registered if it was not
/// \param message         UTF-8; other bytes are allowed
/// \param file, function  the source; null means an empty text
/// \param line            the source line
ZU_EXPORT void write(Level level, const std::string& category, const std::string& message,
                     const char* file, const char* function, int line);

/// Is called with every enabled record, also from several threads at once. Its exceptions are
/// dropped. It may log (it is not called with those records) and may add and remove handlers.
using Handler = std::function<void(const Record&)>;

/// Adds a handler.
/// \return its id, for removeHandler()
ZU_EXPORT int addHandler(Handler handler);

/// Removes a handler. When this function returns, the handler is not running, will not run again
/// and is destroyed. It does not wait if the handler itself calls it, nor for a handler that is
/// waiting in this function itself. Ignores an unknown id.
ZU_EXPORT void removeHandler(int id);

}  // namespace zu::log
