#include "support/benchmark_setup.hpp"

#include <benchmark/benchmark.h>

namespace bench {

void initialize(int argc, char** argv, std::vector<std::string> options) {
  options.emplace_back("--benchmark_enable_random_interleaving=true");
  std::vector<char*> arguments{argv[0]};
  for (std::string& option : options) {
    arguments.push_back(option.data());
  }
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
}

std::string repeated(const std::string& piece, std::size_t size) {
  std::string text;
  text.reserve(size + piece.size());
  while (text.size() < size) {
    text += piece;
  }
  return text;
}

}  // namespace bench
