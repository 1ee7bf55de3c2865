#pragma once

#include <string>
#include <vector>

namespace bench {

/// Begins a benchmark program, whose runs are taken in turns.
/// \param options  of Google Benchmark; those of the command line come behind them
void initialize(int argc, char** argv, std::vector<std::string> options);

/// A piece of text again and again, until it has at least that size.
std::string repeated(const std::string& piece, std::size_t size);

}  // namespace bench
