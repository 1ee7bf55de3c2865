#pragma once

#include <cstdlib>
#include <zu/path.hpp>

namespace test {

/// Has the search for libraries find the plug-ins of the build tree. Where the environment names a
/// folder already, as in the tests of the isolating plug-ins, that one comes first.
inline void searchBuiltPlugins() {
  if (std::getenv("ZU_LIBRARY_PATH") == nullptr) {
    zu::path::addLibDir(BUILT_LIBRARIES);
  }
}

/// Whether the engines under test live in processes of their own.
inline bool isIsolated() {
  return std::getenv("ZU_LIBRARY_PATH") != nullptr;
}

}  // namespace test
