#pragma once

#include <exception>
#include <string>

namespace KQ::speaking {

/// What an exception says, in one line: the description of a KQError, what() of others.
std::string describeFailure(const std::exception_ptr& failure);

}  // namespace KQ::speaking
