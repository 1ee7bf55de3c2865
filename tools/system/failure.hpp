#pragma once

#include <stdexcept>
#include <string>

namespace tool {

/// A failure as a person is told it, in one line: what went wrong, and what to do about it.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& what, const std::string& whatToDo)
      : std::runtime_error(what + "; " + whatToDo) {}
};

/// A wish that cannot be meant: the program ends with the status for wrong usage.
class UsageError : public Failure {
 public:
  using Failure::Failure;
};

}  // namespace tool
