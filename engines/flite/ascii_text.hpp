#pragma once

#include <string>
#include <string_view>

namespace KQ::engines {

/// What Flite, which reads ASCII alone, is to read for a character: its nearest form in ASCII, "" for
/// an accent or an invisible sign, and " " for a control character, a sign that the synthesiser takes
/// for markup, or what has no such form. A line feed stays one.
///
/// \param character  one byte if it is no valid UTF-8
std::string toAscii(std::string_view character);

}  // namespace KQ::engines
