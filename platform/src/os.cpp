#include <dlfcn.h>

#include <zu/os.hpp>

namespace zu::os {

namespace {

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
  return accept(handle != nullptr, "not a library's handle") ? ::dlclose(handle) : -1;
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
