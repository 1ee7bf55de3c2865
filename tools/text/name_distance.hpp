#pragma once

#include <string>
#include <vector>

namespace tool {

/// The names that a user may have meant, the nearest first: those that differ in few characters, in
/// any case. Empty if none is near.
std::vector<std::string> closestNames(const std::string& written,
                                      const std::vector<std::string>& names);

/// ", did you mean 'NAME'?", of the nearest name; "" if none is near.
std::string suggestion(const std::string& written, const std::vector<std::string>& names);

}  // namespace tool
