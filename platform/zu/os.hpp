#pragma once

#include <zu/export.hpp>

/// Dynamic loading. Thread-safe.
namespace zu::os {

/// Opens a shared library. Refuses a file that is shorter than its program headers say, for example
/// after an interrupted update: using it would end the process.
/// \param path   not null, not empty
/// \param flags  the system's flags; -1 selects RTLD_NOW | RTLD_LOCAL
/// \return the handle, or null on failure; dlerror() then returns the reason
ZU_EXPORT void* dlopen(const char* path, int flags);

/// Looks up a symbol.
/// \return the address of `symbol` in the library, or null on failure; a null handle is a failure
ZU_EXPORT void* dlsym(void* handle, const char* symbol);

/// Closes a handle.
/// \return 0 on success; a null handle is a failure
ZU_EXPORT int dlclose(void* handle);

/// Returns the last loading error of the calling thread, and clears it. Never null; "" if there is
/// no error. Valid until the thread's next call of any of these functions.
ZU_EXPORT const char* dlerror();

}  // namespace zu::os
