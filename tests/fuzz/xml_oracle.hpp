#pragma once

#include <string>
#include <utility>
#include <vector>

namespace oracle {

using Settings = std::vector<std::pair<std::string, std::string>>;

/// Reads the settings of an XML document with Qt's own parser.
/// \return false if the document is not well-formed
bool readSettings(const std::string& xml, Settings& settings);

/// Whether the library may refuse a well-formed document, or Qt may take too long to parse it.
bool mayBeRefused(const std::string& xml);

/// Reads a number with Qt.
float readNumber(const std::string& text);

}  // namespace oracle
