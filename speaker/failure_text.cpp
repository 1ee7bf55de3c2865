#include "failure_text.hpp"

#include <algorithm>
#include <kq/error.hpp>

namespace KQ::speaking {

namespace {

std::string textOf(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const KQError& error) {
    return error.getDescription();
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "An engine or a listener threw something that is no exception.";
  }
}

}  // namespace

std::string describeFailure(const std::exception_ptr& failure) {
  std::string text = textOf(failure);
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

}  // namespace KQ::speaking
