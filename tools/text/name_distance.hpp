#pragma once

#include <string>
#include <vector>

namespace tool {

/// The names that somebody may have meant, the nearest first: those that differ in few characters,
/// whatever the case. Empty when none is near.
std::vector<std::string> closestNames(const std::string& written,
                                      const std::vector<std::string>& names);

}  // namespace tool
