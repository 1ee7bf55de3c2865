#pragma once

#include <string>

namespace tool {

/// "the package NAME brings it", of the system's package that holds an engine for a language and
/// the language's data; "" if no package of this project does.
std::string whatBrings(const std::string& language);

}  // namespace tool
