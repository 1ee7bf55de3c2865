#include "flite/phone_names.hpp"

#include <algorithm>
#include <array>

namespace KQ::engines {

namespace {

struct Phone {
  std::string_view name;
  std::string_view ipa;
};

/// The phone set of the CMU pronouncing dictionary, with the reduced vowel "ax".
constexpr std::array<Phone, 40> phones{
    {{"aa", "\u0251"},  {"ae", "\u00E6"},  {"ah", "\u028C"},
     {"ao", "\u0254"},  {"aw", "a\u028A"}, {"ax", "\u0259"},
     {"ay", "a\u026A"}, {"b", "b"},        {"ch", "t\u0283"},
     {"d", "d"},        {"dh", "\u00F0"},  {"eh", "\u025B"},
     {"er", "\u025D"},  {"ey", "e\u026A"}, {"f", "f"},
     {"g", "\u0261"},   {"hh", "h"},       {"ih", "\u026A"},
     {"iy", "i"},       {"jh", "d\u0292"}, {"k", "k"},
     {"l", "l"},        {"m", "m"},        {"n", "n"},
     {"ng", "\u014B"},  {"ow", "o\u028A"}, {"oy", "\u0254\u026A"},
     {"p", "p"},        {"r", "\u0279"},   {"s", "s"},
     {"sh", "\u0283"},  {"t", "t"},        {"th", "\u03B8"},
     {"uh", "\u028A"},  {"uw", "u"},       {"v", "v"},
     {"w", "w"},        {"y", "j"},        {"z", "z"},
     {"zh", "\u0292"}}};

}  // namespace

std::string_view ipaOf(std::string_view phone) {
  const auto* const found = std::find_if(phones.begin(), phones.end(),
                                         [&](const Phone& row) { return row.name == phone; });
  return found == phones.end() ? "" : found->ipa;
}

}  // namespace KQ::engines
