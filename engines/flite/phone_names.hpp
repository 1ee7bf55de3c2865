#pragma once

#include <string_view>

namespace KQ::engines {

/// The IPA of a phone of Flite's English voices; "" for its pause and for what they do not have.
std::string_view ipaOf(std::string_view phone);

}  // namespace KQ::engines
