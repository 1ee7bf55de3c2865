#pragma once

#include <optional>

namespace oracle {

/// Whether a letter's script puts no blanks between words, by Qt's table of scripts. None for what
/// is no letter, for one of several scripts, and for one that belongs to the letter before it.
std::optional<bool> needsNoBlanks(char32_t point);

}  // namespace oracle
