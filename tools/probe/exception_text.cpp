#include "probe/exception_text.hpp"

#include <cxxabi.h>

#include <boost/core/demangle.hpp>
#include <kq/error.hpp>

namespace tool {

ExceptionText describeException() {
  const std::type_info* const type = abi::__cxa_current_exception_type();
  const std::string name = type == nullptr ? "unknown" : boost::core::demangle(type->name());
  try {
    throw;
  } catch (const KQError& error) {
    return {name, error.getDescription(), false};
  } catch (const std::exception& error) {
    return {name, error.what(), false};
  } catch (...) {
    return {name, "", true};
  }
}

std::string ExceptionText::message() const {
  return isForeign ? withType() : text;
}

std::string ExceptionText::withType() const {
  return isForeign ? "an exception of a foreign type (" + type + "), which no host can read"
                   : type + " (\"" + text + "\")";
}

}  // namespace tool
