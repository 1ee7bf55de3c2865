#include <dlfcn.h>

#include <cstring>
#include <mutex>
#include <zu/os.hpp>

#include "library_file.hpp"

namespace zu::os {

namespace {

// ThreadSanitizer does not see the loader's own recursive lock: it would report a race on memory
// that the loader allocates in one thread and frees in another. Other builds must have no lock
// here: a thread that holds the loader's lock and then calls us would take the two in the opposite
// order.
#ifdef __SANITIZE_THREAD__
std::recursive_mutex loaderMutex;
#else
struct {
  void lock() {}
  void unlock() {}
} loaderMutex;
#endif

// The error of a call that this library itself refused, until dlerror() returns it or another
// operation begins. A plain pointer, so that it still works while the thread or the process ends.
thread_local const char* refusal = nullptr;

// Begins an operation.
// \return whether its argument is present
bool accept(bool present, const char* otherwise) {
  refusal = present ? nullptr : otherwise;
  return present;
}

}  // namespace

void* dlopen(const char* path, int flags) {
  // For the system a missing name means the program itself, which is not a library.
  if (!accept(path != nullptr && *path != '\0', "no library is named")) {
    return nullptr;
  }
  // The system would search for a name without a slash in its own folders.
  if (std::strchr(path, '/') != nullptr &&
      !accept(!isCutShort(path), "the library's file is shorter than its headers say")) {
    return nullptr;
  }
  const std::lock_guard lock(loaderMutex);
  return ::dlopen(path, flags == -1 ? RTLD_NOW | RTLD_LOCAL : flags);
}

void* dlsym(void* handle, const char* symbol) {
  // For the system a null handle means a search of all loaded libraries.
  if (!accept(handle != nullptr, "not a library's handle") ||
      !accept(symbol != nullptr, "no symbol is named")) {
    return nullptr;
  }
  return ::dlsym(handle, symbol);
}

int dlclose(void* handle) {
  if (!accept(handle != nullptr, "not a library's handle")) {
    return -1;
  }
  const std::lock_guard lock(loaderMutex);
  return ::dlclose(handle);
}

const char* dlerror() {
  const char* refused = refusal;
  const char* failed = ::dlerror();  // always called, because the call clears the error
  refusal = nullptr;
  if (refused != nullptr) {
    return refused;
  }
  return failed != nullptr ? failed : "";
}

}  // namespace zu::os
