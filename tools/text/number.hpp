#pragma once

#include <optional>
#include <string_view>

namespace tool {

/// Reads a finite number, with a decimal point in every locale. \return none for other texts
std::optional<float> parseNumber(std::string_view text);

}  // namespace tool
