#include "check_engine/examination.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <boost/core/demangle.hpp>
#include <exception>

#include "text/utf8.hpp"

namespace tool {

std::string describeException() {
  const std::type_info* const type = abi::__cxa_current_exception_type();
  const std::string name = type == nullptr ? "unknown" : boost::core::demangle(type->name());
  try {
    throw;
  } catch (const std::exception& error) {
    return name + " (\"" + error.what() + "\")";
  } catch (...) {
    return "an exception of a foreign type (" + name + "), which no host can read";
  }
}

std::chrono::milliseconds Examination::patience() const {
  return std::min<std::chrono::milliseconds>(std::chrono::seconds(5), candidate.timeout / 3);
}

void Examination::skip(const std::string& why) const {
  tell(MessageKind::skipped, why);
  throw Ended();
}

void Examination::abandon(const std::string& finding) const {
  find(finding);
  tell(MessageKind::broken, "");
  throw Ended();
}

void Examination::tell(MessageKind kind, const std::string& what) const {
  std::string text = what;
  makeSpeakable(text);
  channel.send(static_cast<char>(kind) + oneLine(text));
}

}  // namespace tool
