#include <dlfcn.h>

#include <cstring>
#include <mutex>
#include <zu/os.hpp>

#include "library_file.hpp"

namespace zu::os {

namespace {

// The loader has a recursive lock of its own, which ThreadSanitizer does not see: it would take memory
// that the loader gets in one thread and gives back in another for a race. Otherwise there is no lock
// here: who holds the loader's and comes to us would meet the two in the other order.
#ifdef __SANITIZE_THREAD__
std::recursive_mutex loaderMutex;
#else
struct {
  void lock() {}
  void unlock() {}
} loaderMutex;
#endif

// What this library itself refused, until it is told or another operation begins. A plain pointer,
// so that it still works while the thread or the process ends.
thread_local const char* refusal = nullptr;

// Begins an operation. \return whether its argument is there
bool accept(bool present, const char* otherwise) {
  refusal = present ? nullptr : otherwise;
  return present;
}

}  // namespace

void* dlopen(const char* path, int flags) {
  // The system takes a missing name for the program itself, which is no library.
  if (!accept(path != nullptr && *path != '\0', "no library is named")) {
    return nullptr;
  }
  // Without a slash, the system searches for the file in its own way.
  if (std::strchr(path, '/') != nullptr &&
      !accept(!isCutShort(path), "the library's file is shorter than its headers say")) {
    return nullptr;
  }
  const std::lock_guard lock(loaderMutex);
  return ::dlopen(path, flags == -1 ? RTLD_NOW | RTLD_LOCAL : flags);
}

void* dlsym(void* handle, const char* symbol) {
  // The system takes a null handle for a search through everything that is loaded.
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
  const char* failed = ::dlerror();  // in any case, since it forgets what it tells
  refusal = nullptr;
  if (refused != nullptr) {
    return refused;
  }
  return failed != nullptr ? failed : "";
}

}  // namespace zu::os
