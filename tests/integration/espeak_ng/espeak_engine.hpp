#pragma once

#include "engines/speaking_engine.hpp"

namespace test {

/// The package of English, which the default packages leave to another engine.
inline zu::PackageInfo englishPackage() {
  return optionalPackage("espeak-ng-english");
}

/// One package for each language of the language table.
inline std::vector<zu::PackageInfo> espeakPackages() {
  std::vector<zu::PackageInfo> packages = builtPackages();
  packages.push_back(englishPackage());
  return packages;
}

}  // namespace test
