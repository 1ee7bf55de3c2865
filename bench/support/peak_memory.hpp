#pragma once

#include <string>

namespace bench {

/// The peak of this process's memory, in KiB.
double peakMemory();

/// Starts this program anew with the arguments `--memory-of` and `what`; it then prints its peak.
/// \return that peak in KiB
/// \throws std::runtime_error when it prints none
double peakMemoryOf(const std::string& what);

}  // namespace bench
