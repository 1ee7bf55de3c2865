#pragma once

#include <string>
#include <vector>
#include <zu/export.hpp>

/// The framework's search for libraries. Thread-safe.
namespace zu::path {

/// Finds a shared library.
/// \param name  relative path without suffix: "kqtts/libkqtts-x" finds kqtts/libkqtts-x.so. A name
///              with a ".." component or a leading "/" finds nothing.
/// \return the full path of the first regular file found in libDirs(), or ""
ZU_EXPORT std::string findLib(const std::string& name);

/// The folders that findLib() searches, in order: the folders of addLibDir(), newest first; the
/// folders of the environment variable ZU_LIBRARY_PATH (separated by colons; ignored in a
/// set-user-id process); the folder of this library; the install folder. A folder is listed once,
/// under its first path, even if several paths lead to it.
ZU_EXPORT std::vector<std::string> libDirs();

/// Adds a folder that is searched before all others. A relative path is resolved now, against the
/// current working folder. Ignores an empty name.
ZU_EXPORT void addLibDir(const std::string& directory);

}  // namespace zu::path
