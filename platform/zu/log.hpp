#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>
#include <zu/export.hpp>

/// Categorised logging. Every function may be called from any thread, also while a library is
/// being loaded or unloaded and while the process ends.
namespace zu::log {

/// Each level lets through itself and all before it; `silent` lets nothing through.
enum class Level { silent, fatal, error, warning, info, verbose, debug };

/// One message.
struct Record {
  Level level;                                 ///< never `silent`
  std::string category;                        ///< what part of the system speaks
  std::string message;                         ///< as it was written; may hold line ends
  std::string file;                            ///< source file, or ""
  std::string function;                        ///< source function, or ""
  int line;                                    ///< source line
  std::chrono::system_clock::time_point time;  ///< when it was written
};

/// Makes a category known under `name`. Again for a known one: nothing happens.
ZU_EXPORT void registerCategory(const std::string& name);

/// All categories registered by name or written to, in byte order.
ZU_EXPORT std::vector<std::string> categories();

/// Sets the level of all categories, those to come included. At start it is the one that
/// ZU_LOG_LEVEL names ("silent" ... "debug"), else `info`.
ZU_EXPORT void setLevel(Level level);

/// Sets the level of one category, known or not yet.
ZU_EXPORT void setLevel(const std::string& category, Level level);

/// Whether a record of this level and category would be let through. False for `silent`.
ZU_EXPORT bool isEnabled(Level level, const std::string& category);

/// Emits a record to standard error and to all handlers, if its level is let through. On standard
/// error it is one line, in which control characters and malformed UTF-8 are escaped and a line
/// feed at the end of the message is dropped; handlers get the texts as they are.
/// \param level           a record of `silent` is never let through
/// \param category        made known if it is not
/// \param message         UTF-8; anything else is written as well
/// \param file, function  the source; may be null, which reads as an empty text
/// \param line            the source line
ZU_EXPORT void write(Level level, const std::string& category, const std::string& message,
                     const char* file, const char* function, int line);

/// Sees every enabled record; may be called from several threads at once. What it throws is
/// dropped. It may log, which it does not see itself, and may add and remove handlers.
using Handler = std::function<void(const Record&)>;

/// Adds a handler.
/// \return its id, for removeHandler()
ZU_EXPORT int addHandler(Handler handler);

/// Removes a handler. When this returns, the handler is not running, will not run again and is
/// destroyed. There is no such wait when it is the handler itself that calls, nor for a handler
/// that waits in this function in its turn. An unknown id is ignored.
ZU_EXPORT void removeHandler(int id);

}  // namespace zu::log
