#include "support/peak_memory.hpp"

#include <boost/filesystem/operations.hpp>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace bench {

double peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    if (key == "VmHWM:") {
      double peak = 0;
      status >> peak;
      return peak;
    }
  }
  return 0;
}

double peakMemoryOf(const std::string& what) {
  const std::string program = boost::filesystem::read_symlink("/proc/self/exe").native();
  const std::string command = "'" + program + "' --memory-of " + what;
  FILE* const output = ::popen(command.c_str(), "r");
  double peak = 0;
  const bool isRead = output != nullptr && std::fscanf(output, "%lf", &peak) == 1;
  if (output != nullptr) {
    ::pclose(output);
  }
  if (!isRead) {
    throw std::runtime_error("cannot measure the memory of \"" + what + '"');
  }
  return peak;
}

}  // namespace bench
