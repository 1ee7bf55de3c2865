#pragma once

#include <string>
#include <vector>

namespace bench {

/// Initialises a benchmark program. The repetitions of its benchmarks alternate.
/// \param options  of Google Benchmark; the options of the command line are added after them
void initialize(int argc, char** argv, std::vector<std::string> options);

/// Repeats a piece of text until the result has at least that size.
std::string repeated(const std::string& piece, std::size_t size);

}  // namespace bench
