#pragma once

#include <string>
#include <string_view>

namespace KQ::engines {

/// Returns what Flite reads for a character, because it reads ASCII only: the nearest form in
/// ASCII, "" for an accent or an invisible sign, and " " for a control character, a sign of markup,
/// or a character without such a form. A line feed stays a line feed.
///
/// \param character  one byte if it is invalid UTF-8
std::string toAscii(std::string_view character);

}  // namespace KQ::engines
