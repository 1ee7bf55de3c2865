#pragma once

#include <string>

namespace tool {

/// Breaks a text at spaces into lines of at most 100 characters. The first line begins with
/// `label`, the others with as many spaces. Control characters and line ends become spaces, since
/// the text may come from a plug-in.
std::string paragraph(const std::string& label, const std::string& text);

}  // namespace tool
