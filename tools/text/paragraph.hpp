#pragma once

#include <string>

namespace tool {

/// A text as lines of at most 100 characters, broken at spaces; the first begins with `label`, the
/// others with as many spaces. Line ends and other control characters become spaces, since what is
/// shown may come from a plug-in.
std::string paragraph(const std::string& label, const std::string& text);

}  // namespace tool
