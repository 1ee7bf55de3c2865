#pragma once

#include <optional>

namespace oracle {

/// Whether a letter's script puts no blanks between words, by Qt's table of scripts. Empty for a
/// character that is not a letter, that several scripts share, or that follows its letter.
std::optional<bool> needsNoBlanks(char32_t point);

}  // namespace oracle
