#include "visemes.hpp"

#include <array>
#include <cstddef>

#include "utf8.hpp"

namespace KQ::speaking {

namespace {

/// Names of the 15 shapes of MPEG-4's facial animation (ISO/IEC 14496-2, table of visemes), as face
/// rigs use to call them.
constexpr std::array<std::string_view, 15> faceNames = {
    "sil", "PP", "FF", "TH", "DD", "kk", "CH", "SS", "nn", "RR", "aa", "E", "I", "O", "U"};

struct Row {
  std::string_view ipa;
  int shape;
  int face;
};

// The shapes are those of SAPI 5's list of visemes, which gives the sounds of American English for
// each, and of MPEG-4's table, which does too. A sound that neither names has the shape of the one
// that is made at the same place, with the same lips. Longer names come before their beginnings.
constexpr Row rows[] = {
    // diphthongs and affricates
    {"a\u026A", 11, 10},
    {"a\u028A", 9, 10},
    {"\u0254\u026A", 10, 13},
    {"\u0254\u028F", 10, 13},
    {"e\u026A", 4, 11},
    {"o\u028A", 8, 13},
    {"\u0259\u028A", 8, 13},
    {"e\u0259", 4, 11},
    {"\u026A\u0259", 6, 12},
    {"\u028A\u0259", 4, 14},
    {"\u025B\u026A", 4, 11},
    {"t\u0283", 16, 6},
    {"d\u0292", 16, 6},
    {"t\u0361\u0283", 16, 6},
    {"d\u0361\u0292", 16, 6},
    {"t\u0255", 16, 6},
    {"d\u0291", 16, 6},
    {"ts", 15, 7},
    {"dz", 15, 7},
    {"pf", 18, 2},
    // vowels
    {"\u00E6", 1, 10},
    {"\u0259", 1, 11},
    {"\u0250", 1, 10},
    {"\u028C", 1, 10},
    {"a", 2, 10},
    {"\u0251", 2, 10},
    {"\u0252", 3, 13},
    {"\u0254", 3, 13},
    {"e", 4, 11},
    {"\u025B", 4, 11},
    {"\u025C", 5, 11},
    {"\u025D", 5, 9},
    {"\u025A", 5, 9},
    {"\u028A", 4, 14},
    {"i", 6, 12},
    {"\u026A", 6, 12},
    {"\u0268", 6, 12},
    {"\u1D7B", 6, 12},
    {"y", 7, 14},
    {"\u028F", 7, 14},
    {"u", 7, 14},
    {"\u0289", 7, 14},
    {"\u026F", 7, 14},
    {"o", 8, 13},
    {"\u0275", 8, 13},
    {"\u00F8", 8, 13},
    {"\u0153", 8, 13},
    {"\u0264", 8, 13},
    {"\u0258", 4, 11},
    {"\u025E", 5, 11},
    // consonants
    {"p", 21, 1},
    {"b", 21, 1},
    {"m", 21, 1},
    {"f", 18, 2},
    {"v", 18, 2},
    {"\u0278", 18, 2},
    {"\u03B2", 21, 1},
    {"\u028B", 18, 2},
    {"\u0271", 18, 2},
    {"\u03B8", 17, 3},
    {"\u00F0", 17, 3},
    {"t", 19, 4},
    {"d", 19, 4},
    {"n", 19, 8},
    {"\u0288", 19, 4},
    {"\u0256", 19, 4},
    {"\u0273", 19, 8},
    {"\u027E", 19, 4},
    {"l", 14, 8},
    {"\u026B", 14, 8},
    {"\u026D", 14, 8},
    {"\u026C", 14, 8},
    {"\u026E", 14, 8},
    {"\u028E", 14, 8},
    {"r", 13, 9},
    {"\u0279", 13, 9},
    {"\u027B", 13, 9},
    {"\u027D", 13, 9},
    {"\u0280", 13, 9},
    {"\u0281", 13, 9},
    {"s", 15, 7},
    {"z", 15, 7},
    {"\u0283", 16, 6},
    {"\u0292", 16, 6},
    {"\u0282", 16, 6},
    {"\u0290", 16, 6},
    {"\u0255", 16, 6},
    {"\u0291", 16, 6},
    {"k", 20, 5},
    {"g", 20, 5},
    {"\u0261", 20, 5},
    {"\u014B", 20, 5},
    {"x", 20, 5},
    {"\u0263", 20, 5},
    {"\u0270", 20, 5},
    {"q", 20, 5},
    {"\u0262", 20, 5},
    {"\u03C7", 20, 5},
    {"c", 20, 5},
    {"\u025F", 20, 5},
    {"\u00E7", 16, 6},
    {"\u0272", 19, 8},
    {"j", 6, 12},
    {"w", 7, 14},
    {"\u028D", 7, 14},
    {"\u0265", 7, 14},
    {"h", 12, 11},
    {"\u0266", 12, 11},
    {"\u0127", 12, 11},
    {"\u0295", 12, 11},
    {"\u0294", 19, 0}};

MouthShape withName(int shape, int face) {
  return {shape, face, faceNames[static_cast<std::size_t>(face)]};
}

}  // namespace

MouthShape mouthShapeOf(std::string_view ipa) {
  for (std::string_view rest = ipa; !rest.empty();
       rest.remove_prefix(characterAt(rest, 0).length)) {
    for (const Row& row : rows) {
      if (rest.substr(0, row.ipa.size()) == row.ipa) {
        return withName(row.shape, row.face);
      }
    }
  }
  return withName(0, 0);
}

}  // namespace KQ::speaking
