#pragma once

#include <string>

namespace bench {

/// The peak memory of this process, in KiB.
double peakMemory();

/// Starts this program again with the arguments `--memory-of` and `what`, with which it prints its
/// peak memory.
/// \return that peak in KiB
/// \throws std::runtime_error if the program prints none
double peakMemoryOf(const std::string& what);

}  // namespace bench
