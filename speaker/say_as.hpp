#pragma once

#include <string>

namespace KQ::speaking {

/// What to speak for a text that is marked as a number, a date and so on; the table is in
/// docs/ssml.md. A text that is not what it is said to be, and a kind that is not known, is as
/// written.
/// \param kind    SSML's interpret-as
/// \param format  SSML's format, such as "dmy"; may be ""
/// \param locale  the language that it is spoken in
std::string spokenAs(const std::string& kind, const std::string& format, const std::string& text,
                     const std::string& locale);

}  // namespace KQ::speaking
