#pragma once

#include <gmock/gmock.h>

#include <kq/error.hpp>
#include <string>

namespace test {

/// Matches a callable that throws a KQError with these three texts, no file and line 0.
inline auto throwsKQError(const std::string& module, const std::string& method,
                          const std::string& description) {
  using testing::Property;
  return testing::Throws<KQError>(
      testing::AllOf(Property("module", &KQError::getModule, module),
                     Property("method", &KQError::getMethod, method),
                     Property("description", &KQError::getDescription, description),
                     Property("file", &KQError::getFile, testing::IsNull()),
                     Property("line", &KQError::getLine, 0)));
}

/// Matches a callable that throws the error of an inactive engine.
inline auto throwsNotActive(const std::string& method) {
  return throwsKQError("TextToSpeechEngine", method, "This engine is not active.");
}

}  // namespace test
