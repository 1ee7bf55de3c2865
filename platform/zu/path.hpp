#pragma once

#include <string>
#include <vector>
#include <zu/export.hpp>

/// The framework's search for libraries. Thread-safe.
namespace zu::path {

/// Finds a shared library.
/// \param name  relative, without suffix: "kqtts/libkqtts-x" stands for kqtts/libkqtts-x.so. A name
///              with a ".." component or a leading "/" is refused.
/// \return the full path of the first regular file found in libDirs(), or ""
ZU_EXPORT std::string findLib(const std::string& name);

/// Where findLib() looks, in order: the folders of addLibDir(), newest first; those of the
/// environment variable ZU_LIBRARY_PATH (separated by colons; ignored in a set-user-id process);
/// the folder of this library; the install folder.
ZU_EXPORT std::vector<std::string> libDirs();

/// Adds a folder that is looked at before all others. A relative one is taken from the working folder
/// as it is now; an empty name is ignored.
ZU_EXPORT void addLibDir(const std::string& directory);

}  // namespace zu::path
