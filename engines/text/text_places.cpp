#include "text/text_places.hpp"

#include <utf8proc.h>

#include <algorithm>

namespace KQ::engines {

TextCharacter characterAt(std::string_view text, std::size_t place) {
  if (place >= text.size()) {
    return {};
  }
  const std::size_t length = utf8Length(text.substr(place));
  return length == 0 ? TextCharacter{0, 1}
                     : TextCharacter{codePoint(text.substr(place, length)), length};
}

TextCharacter characterBefore(std::string_view text, std::size_t place) {
  constexpr std::size_t longest = 4;
  if (place == 0) {
    return {};
  }
  std::size_t begin = place - 1;
  while (begin > 0 && place - begin < longest && isUtf8Continuation(text[begin])) {
    --begin;
  }
  const TextCharacter character = characterAt(text, begin);
  return character.length == place - begin ? character : TextCharacter{0, 1};
}

bool isAlphanumeric(char32_t point) {
  if (point < 0x80) {
    return isDigit(point) || (point >= 'a' && point <= 'z') || (point >= 'A' && point <= 'Z');
  }
  switch (utf8proc_category(static_cast<utf8proc_int32_t>(point))) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_MC:
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
      return true;
    default:
      return false;
  }
}

}  // namespace KQ::engines
