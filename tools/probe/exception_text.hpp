#pragma once

#include <string>

namespace tool {

/// An exception in words.
struct ExceptionText {
  std::string type;        ///< the name of its type, "unknown" if there is none
  std::string text;        ///< the description of a KQError, what() of others; "" if foreign
  bool isForeign = false;  ///< not derived from std::exception: no host can read it

  /// The text alone; for a foreign exception, its type.
  std::string message() const;
  /// The type, followed by the text if there is one: `KQError ("no such voice")`.
  std::string withType() const;
};

/// Describes the exception that is being handled. Call this in a handler.
ExceptionText describeException();

}  // namespace tool
