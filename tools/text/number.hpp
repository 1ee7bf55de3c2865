#pragma once

#include <optional>
#include <string_view>

namespace tool {

/// A finite number as a person writes it, with a point in every locale. \return none for other texts
std::optional<float> parseNumber(std::string_view text);

}  // namespace tool
