#pragma once

#include <optional>
#include <string>

namespace tool {

/// What is wrong with a file that should be a shared library.
struct LibraryDefect {
  std::string cause;  ///< "plugin-unreadable", "plugin-not-a-library", "plugin-truncated" or
                      ///< "plugin-wrong-architecture"
  std::string text;
};

/// Looks at a file from the outside, without loading it: the system's loader takes some of these
/// defects for others, and may crash over them. \return nothing when no defect is seen
std::optional<LibraryDefect> inspectLibrary(const std::string& path);

}  // namespace tool
