#include "text/language_package.hpp"

#include <map>

namespace tool {

namespace {

const std::map<std::string, std::string> pluginOfLanguage = {
#include "language_packages.inc"
};

}  // namespace

std::string whatBrings(const std::string& language) {
  const auto found = pluginOfLanguage.find(language);
  return found == pluginOfLanguage.end()
             ? ""
             : "the package kqtts-engine-" + found->second + " brings it";
}

}  // namespace tool
