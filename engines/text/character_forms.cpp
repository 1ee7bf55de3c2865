#include "text/character_forms.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <string>

#include "text/text_places.hpp"

namespace KQ::engines {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

template <std::size_t count>
bool isIn(const std::array<Range, count>& ranges, char32_t point) {
  return std::any_of(ranges.begin(), ranges.end(), [point](const Range& range) {
    return point >= range.first && point <= range.last;
  });
}

/// Characters that only affect the layout.
constexpr std::array<Range, 7> invisible{{{0x00AD, 0x00AD},    // soft hyphen
                                          {0x061C, 0x061C},    // direction
                                          {0x200B, 0x200F},    // joiners, direction
                                          {0x202A, 0x202E},    // direction
                                          {0x2060, 0x206F},    // joiners, direction
                                          {0xFE00, 0xFE0F},    // variation
                                          {0xFEFF, 0xFEFF}}};  // byte order

/// Characters with a plain form for each of their letters or digits.
constexpr std::array<Range, 14> compatible{{{0x01C4, 0x01CC},      // dž
                                            {0x0675, 0x0678},      // Arabic with hamza
                                            {0x2080, 0x209C},      // subscripts
                                            {0x2100, 0x2101},      // a/c
                                            {0x210A, 0x2115},      // script letters
                                            {0x2119, 0x211D},      // double-struck letters
                                            {0x2126, 0x212D},      // ohm, angstrom
                                            {0x2160, 0x217F},      // Roman numerals
                                            {0x2460, 0x24FF},      // circled
                                            {0x3250, 0x33FF},      // squared words
                                            {0xF900, 0xFAFF},      // Han for compatibility
                                            {0xFB00, 0xFDFF},      // ligatures, Arabic forms
                                            {0xFE70, 0xFEFC},      // Arabic forms
                                            {0x1D400, 0x1D7FF}}};  // mathematical letters

/// Full and half width, without the punctuation, which the voices of such scripts know.
constexpr std::array<Range, 7> wide{{{0xFF04, 0xFF06},
                                     {0xFF0B, 0xFF0B},
                                     {0xFF0D, 0xFF0D},
                                     {0xFF10, 0xFF19},
                                     {0xFF1C, 0xFF1E},
                                     {0xFF20, 0xFF3A},
                                     {0xFF41, 0xFF5A}}};
constexpr std::array<Range, 3> narrow{{{0xFF5E, 0xFF5E}, {0xFF66, 0xFFDC}, {0xFFE0, 0xFFE6}}};

/// Characters that have a composed form, although none is a mark.
constexpr std::array<Range, 5> decomposable{
    {{0x0340, 0x0345}, {0x0374, 0x0374}, {0x037E, 0x0387}, {0x1F71, 0x1FFD}, {0x212A, 0x212B}}};

constexpr std::array<Range, 3> combining{{{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x20D0, 0x20FF}}};

constexpr char32_t acute = 0x0301;

bool hasOtherForm(char32_t point) {
  return isIn(compatible, point) || isIn(wide, point) || isIn(narrow, point);
}

std::string normalised(std::string_view text, bool compatibly) {
  const int options = UTF8PROC_COMPOSE | (compatibly ? UTF8PROC_COMPAT : 0);
  utf8proc_uint8_t* result = nullptr;
  const utf8proc_ssize_t length = utf8proc_map(
      reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
      static_cast<utf8proc_ssize_t>(text.size()), &result, static_cast<utf8proc_option_t>(options));
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, &std::free);
  return length < 0
             ? std::string(text)
             : std::string(reinterpret_cast<const char*>(result), static_cast<std::size_t>(length));
}

/// A text without marks that combine with no letter.
std::string withoutLooseMarks(std::string_view text, bool keepsStress) {
  std::string kept;
  for (std::size_t place = 0; place < text.size();) {
    const TextCharacter character = characterAt(text, place);
    if (!isIn(combining, character.point) || (keepsStress && character.point == acute)) {
      kept += text.substr(place, character.length);
    }
    place += character.length;
  }
  return kept;
}

}  // namespace

bool isMark(char32_t point) {
  if (point < 0x0300) {
    return false;
  }
  const bool isJamo = point >= 0x1160 && point <= 0x11FF;
  return isIn(combining, point) || isJamo ||
         utf8proc_category(static_cast<utf8proc_int32_t>(point)) == UTF8PROC_CATEGORY_MN;
}

std::optional<Rewrite> CharacterForms::at(std::string_view text, std::size_t place) const {
  const TextCharacter first = characterAt(text, place);
  if (first.point >= 0x80 && isIn(invisible, first.point)) {
    return Rewrite{place, first.length, ""};
  }
  constexpr std::size_t mostMarks = 16;
  std::size_t end = place + first.length;
  std::size_t marks = 0;
  TextCharacter next = characterAt(text, end);
  for (; isMark(next.point) && marks < mostMarks; next = characterAt(text, end)) {
    end += next.length;
    ++marks;
  }
  const bool isWide = first.point >= 0x80 && isIn(wide, first.point);
  for (; isWide && isIn(wide, next.point); next = characterAt(text, end)) {
    end += next.length;
  }
  const bool isOther = first.point >= 0x80 && hasOtherForm(first.point);
  if (marks == 0 && !isOther && !(first.point >= 0x80 && isIn(decomposable, first.point))) {
    return std::nullopt;
  }
  const std::string_view written = text.substr(place, end - place);
  std::string read = withoutLooseMarks(normalised(written, isOther), keepsStress);
  if (read == written) {
    return std::nullopt;
  }
  return Rewrite{place, written.size(), std::move(read)};
}

}  // namespace KQ::engines
