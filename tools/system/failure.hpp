#pragma once

#include <stdexcept>
#include <string>

namespace tool {

/// A failure that the program reports in one line: what went wrong, and what to do about it.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& what, const std::string& whatToDo)
      : std::runtime_error(what + "; " + whatToDo) {}
};

/// Wrong command-line usage.
class UsageError : public Failure {
 public:
  using Failure::Failure;
};

}  // namespace tool
