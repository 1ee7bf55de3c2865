#include "text/language_rewriter.hpp"

#include <algorithm>
#include <array>

#include "text/text_places.hpp"

namespace KQ::engines {

namespace {

constexpr std::array<bool, 256> bytesToLookAt() {
  std::array<bool, 256> bytes{};
  for (std::size_t byte = 0x80; byte < bytes.size(); ++byte) {
    bytes[byte] = true;
  }
  for (const char sign : std::string_view("+-=<>%&$.@/:_")) {
    bytes[static_cast<unsigned char>(sign)] = true;
  }
  return bytes;
}

constexpr std::array<bool, 256> lookedAt = bytesToLookAt();

}  // namespace

std::string rewritten(TextRewriter& rewriter, std::string_view text) {
  std::string result;
  std::size_t place = 0;
  while (const std::optional<Rewrite> rewrite = rewriter.next(text, place, text.size())) {
    result.append(text.substr(place, rewrite->offset - place)).append(rewrite->text);
    place = rewrite->offset + rewrite->length;
  }
  return result.append(text.substr(place));
}

LanguageRewriter::LanguageRewriter(std::string_view language)
    : forms(language.substr(0, 2) == "ru"), signs(language) {}

std::optional<Rewrite> LanguageRewriter::next(std::string_view text, std::size_t begin,
                                              std::size_t end) {
  for (std::size_t place = begin; place < end;) {
    if (!lookedAt[static_cast<unsigned char>(text[place])]) {
      ++place;
      continue;
    }
    if (std::optional<Rewrite> rewrite = at(text, place, begin)) {
      return rewrite;
    }
    place += characterAt(text, place).length;
  }
  return std::nullopt;
}

std::optional<Rewrite> LanguageRewriter::at(std::string_view text, std::size_t place,
                                            std::size_t begin) const {
  if (static_cast<unsigned char>(text[place]) >= 0x80) {
    const TextCharacter character = characterAt(text, place);
    const TextCharacter before = characterBefore(text, place);
    const bool belongsToBefore = isMark(character.point) && before.length <= place - begin;
    std::optional<Rewrite> rewrite =
        forms.at(text, belongsToBefore ? place - before.length : place);
    if (rewrite) {
      const bool hasSigns = std::any_of(rewrite->text.begin(), rewrite->text.end(), [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80 &&
               lookedAt[static_cast<unsigned char>(byte)];
      });
      rewrite->text = hasSigns ? withSigns(rewrite->text) : rewrite->text;
      return rewrite;
    }
  }
  return signs.at(text, place, begin);
}

/// A text in its plain form with its signs as words.
std::string LanguageRewriter::withSigns(std::string_view plain) const {
  std::string result;
  for (std::size_t place = 0; place < plain.size();) {
    const std::optional<Rewrite> rewrite = signs.at(plain, place, place);
    const std::size_t length =
        rewrite ? rewrite->length : std::max<std::size_t>(characterAt(plain, place).length, 1);
    result += rewrite ? rewrite->text : std::string(plain.substr(place, length));
    place += length;
  }
  return result;
}

}  // namespace KQ::engines
