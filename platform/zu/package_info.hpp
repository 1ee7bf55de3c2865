#pragma once

#include <string>

/// The framework's own facilities.
namespace zu {

/// One installed package, as the host found it.
struct PackageInfo {
  std::string uuid;     ///< unique for each package; never interpreted
  std::string version;  ///< numbers separated by dots
  std::string path;     ///< the package's folder
};

}  // namespace zu
