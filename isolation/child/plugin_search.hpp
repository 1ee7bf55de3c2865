#pragma once

#include <string>
#include <vector>

namespace KQ::isolation {

/// Makes the library search of this process find the plug-in that an isolating one of the same name
/// stands for: takes over the folders, in their order, but for those where the next plug-in of that
/// name is an isolating one, too.
/// \return false when there is none but isolating ones
bool searchBeyondIsolation(const std::string& plugin, const std::vector<std::string>& folders);

}  // namespace KQ::isolation
