#pragma once

#include <string>
#include <string_view>

namespace zu::log {

/// Appends a text as one line that holds no commands for a terminal. A line feed becomes \n, a
/// tabulator \t; each byte of any other control character (C0, DEL or C1) or of malformed UTF-8
/// becomes \xHH.
void appendPrintable(std::string& target, std::string_view text);

}  // namespace zu::log
