#include "text/sign_names.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace KQ::engines {

struct SignNames::Names {
  std::string_view language;
  std::string_view lines;       ///< a sign, a tab, its name and a line feed; by the signs' bytes
  const std::uint32_t* begins;  ///< of the lines
  std::size_t count;
};

namespace {

using Names = SignNames::Names;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverlength-strings"
#include "sign_names_data.inc"
#pragma GCC diagnostic pop

/// What other codes the languages have.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> otherCodes{
    {{"cmn", "zh"}, {"nb", "no"}, {"nn", "no"}}};

const Names* namesOf(std::string_view language) {
  language = language.substr(0, language.find_first_of("-_"));
  for (const auto& [code, known] : otherCodes) {
    language = language == code ? known : language;
  }
  const auto* const found =
      std::find_if(std::begin(allNames), std::end(allNames),
                   [&](const Names& names) { return names.language == language; });
  return found == std::end(allNames) ? nullptr : found;
}

}  // namespace

SignNames::SignNames(std::string_view language) : names(namesOf(language)) {}

std::string_view SignNames::of(std::string_view sign) const {
  if (names == nullptr) {
    return {};
  }
  const auto signOf = [&](std::uint32_t begin) {
    return names->lines.substr(begin, names->lines.find('\t', begin) - begin);
  };
  const std::uint32_t* const end = names->begins + names->count;
  const auto* const line = std::lower_bound(
      names->begins, end, sign,
      [&](std::uint32_t begin, std::string_view wanted) { return signOf(begin) < wanted; });
  if (line == end || signOf(*line) != sign) {
    return {};
  }
  const std::size_t begin = *line + sign.size() + 1;
  return names->lines.substr(begin, names->lines.find('\n', begin) - begin);
}

}  // namespace KQ::engines
