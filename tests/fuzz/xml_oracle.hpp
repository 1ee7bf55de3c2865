#pragma once

#include <string>
#include <utility>
#include <vector>

namespace oracle {

using Settings = std::vector<std::pair<std::string, std::string>>;

/// The settings of an XML document by Qt's own parse of it.
/// \return false when it is not well-formed
bool readSettings(const std::string& xml, Settings& settings);

/// Whether a document may be refused although it is well-formed, or may cost Qt more than a test has.
bool mayBeRefused(const std::string& xml);

/// A number as Qt reads it.
float readNumber(const std::string& text);

}  // namespace oracle
