#pragma once

#include <zu/export.hpp>

/// Dynamic loading. Thread-safe.
namespace zu::os {

/// Opens a shared library. A file that is shorter than its program headers say, as after an update
/// that was broken off, is refused: using it would end the process.
/// \param path   not null or empty
/// \param flags  those of the system; -1 selects RTLD_NOW | RTLD_LOCAL
/// \return the handle, or null; then dlerror() says why
ZU_EXPORT void* dlopen(const char* path, int flags);

/// Looks a symbol up.
/// \return the address of `symbol` in the library, or null; a null handle is refused, not followed
ZU_EXPORT void* dlsym(void* handle, const char* symbol);

/// Gives a handle back.
/// \return 0 on success; a null handle is refused, not followed
ZU_EXPORT int dlclose(void* handle);

/// The calling thread's last loading error, told once; never null, "" when there is none. Valid until
/// the thread's next call of any of these functions.
ZU_EXPORT const char* dlerror();

}  // namespace zu::os
