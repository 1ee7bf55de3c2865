#pragma once

#include <cstdlib>
#include <string>

namespace test {

/// Sets an environment variable, and unsets it when it is destroyed.
class Environment {
 public:
  Environment(const char* variable, const std::string& value) : name(variable) {
    ::setenv(name, value.c_str(), 1);
  }
  ~Environment() { ::unsetenv(name); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name;
};

}  // namespace test
