#pragma once

#include <string>
#include <string_view>

namespace zu::log {

/// Appends a text so that it stays within one line and gives a terminal no commands: each byte of a
/// control character (C0, DEL or C1) or of malformed UTF-8 becomes \xHH, a line feed \n, a
/// tabulator \t.
void appendPrintable(std::string& target, std::string_view text);

}  // namespace zu::log
