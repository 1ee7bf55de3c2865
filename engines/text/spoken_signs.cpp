#include "text/spoken_signs.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>

#include "text/text_places.hpp"

namespace KQ::engines {

namespace {

/// The longest text that counts as a number or an address.
constexpr std::size_t longestWord = 256;

/// Languages whose voices do not speak the full stop of "3.5".
constexpr std::array<std::string_view, 6> silentDecimals{"cmn", "zh", "yue", "ja", "ko", "pl"};

/// Beginnings of words that belong to the number before them: "$5 million".
constexpr std::array<std::string_view, 12> scales{
    "mill", "bill", "trill", "thousand", "Mill", "Mrd", "Mio", "mln", "mld", "млн", "млрд", "тыс"};

constexpr std::array<std::string_view, 5> fractions{"½", "⅓", "⅔", "¼", "¾"};

std::string_view languagePart(std::string_view language) {
  return language.substr(0, language.find_first_of("-_"));
}

bool isLowerAscii(char32_t point) {
  return point >= 'a' && point <= 'z';
}

bool isIn(char32_t point, std::string_view characters) {
  return point < 0x80 && point != 0 &&
         characters.find(static_cast<char>(point)) != std::string_view::npos;
}

bool isDigitByte(char byte) {
  return byte >= '0' && byte <= '9';
}

/// The number of digits at a place.
std::size_t digitsAt(std::string_view text, std::size_t place) {
  std::size_t end = place;
  while (end < text.size() && end - place < longestWord && isDigitByte(text[end])) {
    ++end;
  }
  return end - place;
}

/// The number of digits before a place.
std::size_t digitsBefore(std::string_view text, std::size_t place) {
  std::size_t begin = place;
  while (begin > 0 && place - begin < longestWord && isDigitByte(text[begin - 1])) {
    --begin;
  }
  return place - begin;
}

/// The end of the number, with separators, that begins at a place.
std::size_t numberEnd(std::string_view text, std::size_t place) {
  std::size_t end = place + digitsAt(text, place);
  while (end < text.size() && end - place < longestWord &&
         isIn(static_cast<unsigned char>(text[end]), ".,'") && digitsAt(text, end + 1) > 0) {
    end += 1 + digitsAt(text, end + 1);
  }
  return end;
}

/// The begin of the number, with separators, that ends at a place.
std::size_t numberBegin(std::string_view text, std::size_t place) {
  std::size_t begin = place - digitsBefore(text, place);
  while (begin > 1 && place - begin < longestWord &&
         isIn(static_cast<unsigned char>(text[begin - 1]), ".,'") &&
         digitsBefore(text, begin - 1) > 0) {
    begin -= 1 + digitsBefore(text, begin - 1);
  }
  return begin;
}

/// Whether the digits beside a hyphen are a range: "5-10", and neither "555-1234" nor a date.
bool isRange(std::string_view text, std::size_t place, std::size_t length) {
  const std::size_t left = digitsBefore(text, place);
  const std::size_t right = digitsAt(text, place + length);
  const char32_t before = characterBefore(text, place - left).point;
  const char32_t after = characterAt(text, place + length + right).point;
  const auto joins = [](char32_t point) {
    return isAlphanumeric(point) || isIn(point, "-/:") || point == U'–';
  };
  if (joins(before) || joins(after) || right < left || right > 4 || left == 0) {
    return false;
  }
  const std::string_view low = text.substr(place - left, left);
  const std::string_view high = text.substr(place + length, right);
  return (left == right || right < 4) && (left < right || low < high);
}

/// The characters around a place up to blanks, brackets or quotes.
std::string_view wordAround(std::string_view text, std::size_t place) {
  constexpr std::string_view limits = " \t\r\n<>()[]{}\"";
  std::size_t begin = place;
  while (begin > 0 && place - begin < longestWord &&
         limits.find(text[begin - 1]) == std::string_view::npos) {
    --begin;
  }
  const std::size_t end =
      std::min({text.find_first_of(limits, place), text.size(), place + longestWord});
  return text.substr(begin, end - begin);
}

bool isAddress(std::string_view word) {
  const std::size_t at = word.find('@');
  const bool isMail =
      at != std::string_view::npos && at > 0 && word.find('.', at) != std::string_view::npos;
  return isMail || word.find("://") != std::string_view::npos || word.substr(0, 4) == "www.";
}

bool isLayout(char32_t point) {
  return point == 0x200D || point == 0xFE0E || point == 0xFE0F ||
         (point >= 0x1F3FB && point <= 0x1F3FF);
}

}  // namespace

/// A character and the characters around it.
struct SpokenSigns::Sign {
  std::string_view text;
  std::size_t place;
  std::size_t begin;  ///< nothing before it can be rewritten
  TextCharacter self;
  TextCharacter before;
  TextCharacter after;

  Sign(std::string_view text, std::size_t place, std::size_t begin)
      : text(text),
        place(place),
        begin(begin),
        self(characterAt(text, place)),
        before(characterBefore(text, place)),
        after(characterAt(text, place + self.length)) {}

  std::size_t end() const { return place + self.length; }
  std::string_view written() const { return text.substr(place, self.length); }
  bool blankBefore() const { return before.length == 0 || isBlank(before.point); }
  bool blankAfter() const { return after.length == 0 || isBlank(after.point); }

  /// The end of the number before the sign, with at most a blank between them; 0 if there is none.
  std::size_t numberEndBefore() const {
    const std::size_t end = isBlank(before.point) ? place - before.length : place;
    return end > 0 && isDigitByte(text[end - 1]) ? end : 0;
  }
};

SpokenSigns::SpokenSigns(std::string_view language)
    : names(language),
      isEnglish(languagePart(language) == "en"),
      isGreek(languagePart(language) == "el"),
      readsDecimals(std::find(silentDecimals.begin(), silentDecimals.end(),
                              languagePart(language)) == silentDecimals.end()) {}

std::optional<Rewrite> SpokenSigns::at(std::string_view text, std::size_t place,
                                       std::size_t begin) const {
  if (!names.isKnownLanguage()) {
    return std::nullopt;
  }
  const Sign sign(text, place, begin);
  if (sign.self.point < 0x80) {
    return ofAscii(sign);
  }
  switch (sign.self.point) {
    case U'−':
    case U'–':
      return minus(sign);
    case U'°':
    case U'º':
      return degrees(sign);
    case U'٪':
      return asWord(sign, "%");
    case U'٫':
      return asWord(sign, "#.#");
    case U'٬':
      return Rewrite{place, sign.self.length, ""};
    case U'‰':
    case U'℃':
    case U'℉':
      return unit(sign);
    case U'π':
    case U'Ω':
    case U'μ':
      return letter(sign);
    case U'µ':
    case U'§':
      return asWord(sign, sign.written());
    default:
      return named(sign);
  }
}

std::optional<Rewrite> SpokenSigns::ofAscii(const Sign& sign) const {
  switch (sign.self.point) {
    case '+':
      return plus(sign);
    case '-':
      return minus(sign);
    case '=':
    case '<':
    case '>':
      return comparison(sign);
    case '%':
      return sign.numberEndBefore() > 0 ? unit(sign) : std::nullopt;
    case '&':
      return sign.blankBefore() && sign.blankAfter() ? std::optional(asWord(sign, "&"))
                                                     : std::nullopt;
    case '$':
      return money(sign);
    case '.':
      return fullStop(sign);
    case '@':
    case '/':
    case ':':
    case '_':
      return ofAddress(sign);
    default:
      return std::nullopt;
  }
}

std::optional<Rewrite> SpokenSigns::minus(const Sign& sign) const {
  const bool isSign = sign.self.point == U'−';
  const bool isBeforeNumber = isDigit(sign.after.point);
  if (isDigit(sign.before.point) && isBeforeNumber && !isSign) {
    return isRange(sign.text, sign.place, sign.self.length) ? std::optional(asWord(sign, "#-#"))
                                                            : std::nullopt;
  }
  if (isBeforeNumber && (sign.blankBefore() || isIn(sign.before.point, "([{=<>+*/:;,\\"))) {
    return asWord(sign, "-#");
  }
  return isSign ? std::optional(asWord(sign, "−")) : std::nullopt;
}

/// "C++", but no line of them.
std::optional<Rewrite> SpokenSigns::plus(const Sign& sign) const {
  const std::string_view around =
      sign.text.substr(sign.place - std::min<std::size_t>(sign.place, 2), 5);
  const bool isLine = around.find("+++") != std::string_view::npos;
  return isLine ? std::nullopt : std::optional(asWord(sign, "+"));
}

std::optional<Rewrite> SpokenSigns::comparison(const Sign& sign) const {
  const auto isOperand = [&](const TextCharacter& beside) {
    return beside.length == 0 || isBlank(beside.point) || isDigit(beside.point) ||
           (sign.self.point == '=' && isAlphanumeric(beside.point));
  };
  const bool isAlone = sign.before.length == 0 && sign.after.length == 0;
  return !isAlone && isOperand(sign.before) && isOperand(sign.after)
             ? std::optional(asWord(sign, sign.written()))
             : std::nullopt;
}

std::optional<Rewrite> SpokenSigns::money(const Sign& sign) const {
  const std::size_t number =
      isBlank(sign.after.point) ? sign.end() + sign.after.length : sign.end();
  const bool isAfterNumber = sign.numberEndBefore() > 0;
  if (digitsAt(sign.text, number) > 0 && !(isAfterNumber && number > sign.end())) {
    return moneyBefore(sign, number);
  }
  const bool isVariable = sign.self.point == '$' && !isAfterNumber;
  return isVariable ? std::nullopt : std::optional(asWord(sign, sign.written()));
}

/// A sign of money whose number follows.
std::optional<Rewrite> SpokenSigns::moneyBefore(const Sign& sign, std::size_t number) const {
  std::size_t end = numberEnd(sign.text, number);
  const std::string_view amount = sign.text.substr(number, end - number);
  std::string spoken = digitsOf(amount);
  const std::string_view rest = sign.text.substr(end, longestWord);
  for (const std::string_view scale : scales) {
    if (rest.size() > scale.size() && rest.front() == ' ' &&
        rest.substr(1, scale.size()) == scale) {
      const std::size_t wordEnd = std::min(rest.find_first_of(" ,.;:!?\n)", 1), rest.size());
      spoken += rest.substr(0, wordEnd);
      end += wordEnd;
      break;
    }
  }
  const bool isReal = sign.self.point == '$' && sign.before.point == 'R' && sign.place > sign.begin;
  const std::size_t begin = sign.place - (isReal ? 1 : 0);
  const std::string_view name = form(isReal ? "R$" : sign.written(), amount == "1");
  spoken.append(" ").append(name);
  if (isAlphanumeric(characterBefore(sign.text, begin).point)) {
    spoken.insert(0, " ");
  }
  if (isAlphanumeric(characterAt(sign.text, end).point)) {
    spoken += ' ';
  }
  return Rewrite{begin, end - begin, std::move(spoken)};
}

/// A unit after its number. In some languages the word comes before the number.
std::optional<Rewrite> SpokenSigns::unit(const Sign& sign) const {
  const std::string_view name = names.of(sign.written());
  const std::size_t numbersEnd = sign.numberEndBefore();
  const std::size_t first = numbersEnd == 0 ? 0 : numberBegin(sign.text, numbersEnd);
  if (name.substr(0, 1) != "^" || numbersEnd == 0 || first < sign.begin) {
    return asWord(sign, sign.written());
  }
  const std::string number = digitsOf(sign.text.substr(first, numbersEnd - first));
  return Rewrite{first, sign.end() - first, " " + std::string(name.substr(1)) + " " + number + " "};
}

std::optional<Rewrite> SpokenSigns::degrees(const Sign& sign) const {
  const bool isNumero = (sign.before.point == 'n' || sign.before.point == 'N') &&
                        sign.place > sign.begin &&
                        !isAlphanumeric(characterBefore(sign.text, sign.place - 1).point);
  if (isNumero) {
    return Rewrite{sign.place - 1, sign.self.length + 1, std::string(names.of("№")) + " "};
  }
  if (sign.self.point == U'º') {
    return std::nullopt;
  }
  const bool hasScale = (sign.after.point == 'C' || sign.after.point == 'F') &&
                        !isAlphanumeric(characterAt(sign.text, sign.end() + 1).point);
  if (hasScale) {
    return asWord(sign, sign.after.point == 'C' ? "℃" : "℉", sign.self.length + 1);
  }
  return asWord(sign, "°");
}

std::optional<Rewrite> SpokenSigns::fraction(const Sign& sign) const {
  const bool isMixed = isDigit(sign.before.point) && sign.written() == "½";
  return asWord(sign, isMixed ? "#½" : sign.written());
}

std::optional<Rewrite> SpokenSigns::fullStop(const Sign& sign) const {
  if (!isAlphanumeric(sign.before.point) || !isAlphanumeric(sign.after.point)) {
    return std::nullopt;
  }
  if (isDigit(sign.before.point) && isDigit(sign.after.point)) {
    const std::size_t digits = digitsAt(sign.text, sign.end());
    const std::size_t left = sign.place - digitsBefore(sign.text, sign.place);
    const auto isStop = [](const TextCharacter& beside) { return beside.point == '.'; };
    const bool isOneOfSeveral = isStop(characterBefore(sign.text, left)) ||
                                (isStop(characterAt(sign.text, sign.end() + digits)) &&
                                 digitsAt(sign.text, sign.end() + digits + 1) > 0);
    if (isOneOfSeveral) {
      return !readsDecimals || isEnglish ? std::optional(asWord(sign, ".")) : std::nullopt;
    }
    return readsDecimals
               ? std::nullopt
               : std::optional(Rewrite{sign.place, 1 + digits,
                                       digitsOf(sign.text.substr(sign.place, 1 + digits))});
  }
  if (isAddress(wordAround(sign.text, sign.place))) {
    return asWord(sign, ".");
  }
  // A name with an ending, such as "file.txt": neither "e.g." nor a sentence's end without a blank.
  std::size_t ending = sign.end();
  while (isLowerAscii(characterAt(sign.text, ending).point) && ending - sign.end() <= 4) {
    ++ending;
  }
  const std::size_t length = ending - sign.end();
  const bool isName =
      isAlphanumeric(characterBefore(sign.text, sign.place - sign.before.length).point);
  const char32_t next = characterAt(sign.text, ending).point;
  const bool isEnding = length >= 2 && length <= 4 && !isAlphanumeric(next) && next != '.';
  return isName && isEnding ? std::optional(asWord(sign, ".")) : std::nullopt;
}

std::optional<Rewrite> SpokenSigns::ofAddress(const Sign& sign) const {
  const bool isMailSign = sign.self.point == '@';
  if (isMailSign && isAlphanumeric(sign.before.point) && isAlphanumeric(sign.after.point)) {
    return asWord(sign, "@");
  }
  if (isMailSign || !isAddress(wordAround(sign.text, sign.place))) {
    return std::nullopt;
  }
  if (sign.self.point == ':') {
    return sign.text.substr(sign.place, 3) == "://" ? std::optional(Rewrite{sign.place, 3, " "})
                                                    : std::nullopt;
  }
  return isAlphanumeric(sign.after.point) ? asWord(sign, sign.written())
                                          : Rewrite{sign.place, sign.self.length, " "};
}

/// A Greek letter that is not a part of a word.
std::optional<Rewrite> SpokenSigns::letter(const Sign& sign) const {
  const auto isGreekLetter = [](char32_t point) { return point >= 0x0370 && point <= 0x03FF; };
  if (isGreek || isGreekLetter(sign.before.point) || isGreekLetter(sign.after.point)) {
    return std::nullopt;
  }
  return asWord(sign, sign.self.point == U'μ' ? "µ" : sign.written());
}

/// A sign of money, a fraction, or a sign with only a name, such as an emoji of several characters.
std::optional<Rewrite> SpokenSigns::named(const Sign& sign) const {
  const utf8proc_category_t category =
      utf8proc_category(static_cast<utf8proc_int32_t>(sign.self.point));
  if (category == UTF8PROC_CATEGORY_SC) {
    return money(sign);
  }
  if (std::find(fractions.begin(), fractions.end(), sign.written()) != fractions.end()) {
    return fraction(sign);
  }
  constexpr std::size_t mostCharacters = 12;
  std::string key;
  std::string best;
  std::size_t end = sign.place;
  std::size_t place = sign.place;
  for (std::size_t count = 0; count < mostCharacters; ++count) {
    const TextCharacter next = characterAt(sign.text, place);
    if (next.point < 0x80) {
      break;
    }
    const bool isVariant = isLayout(next.point) && next.point != 0x200D;
    key += isVariant ? "" : sign.text.substr(place, next.length);
    place += next.length;
    if (!isVariant && !names.of(key).empty()) {
      best = key;
    }
    end = best == key && !key.empty() ? place : end;
  }
  const bool isSign = category == UTF8PROC_CATEGORY_SM || category == UTF8PROC_CATEGORY_SO ||
                      category == UTF8PROC_CATEGORY_NO || category == UTF8PROC_CATEGORY_PO;
  if (best.empty() || !isSign) {
    return std::nullopt;
  }
  // Three or more of them are one.
  const std::string_view once = sign.text.substr(sign.place, end - sign.place);
  std::size_t allEnd = end;
  while (sign.text.substr(allEnd, once.size()) == once) {
    allEnd += once.size();
  }
  const bool isRow = allEnd - sign.place >= 3 * once.size();
  return asWord(sign, best, (isRow ? allEnd : end) - sign.place);
}

Rewrite SpokenSigns::asWord(const Sign& sign, std::string_view key) const {
  return asWord(sign, key, sign.self.length);
}

/// \param length  of the text that the word replaces
Rewrite SpokenSigns::asWord(const Sign& sign, std::string_view key, std::size_t length) const {
  const std::size_t numbersEnd = sign.numberEndBefore();
  const bool isOne = numbersEnd > 0 && sign.text[numbersEnd - 1] == '1' &&
                     numbersEnd - numberBegin(sign.text, numbersEnd) == 1;
  std::string_view name = form(key, isOne);
  if (name.substr(0, 1) == "^") {
    name.remove_prefix(1);
  }
  std::string spoken = sign.blankBefore() ? "" : " ";
  spoken += name;
  const char32_t next = characterAt(sign.text, sign.place + length).point;
  if (isAlphanumeric(next) || isIn(next, "$.")) {
    spoken += ' ';
  }
  return {sign.place, length, std::move(spoken)};
}

/// The name of a sign in the singular or the plural.
std::string_view SpokenSigns::form(std::string_view key, bool isOne) const {
  const std::string_view name = names.of(key);
  const std::size_t bar = name.find('|');
  return bar == std::string_view::npos ? name : isOne ? name.substr(0, bar) : name.substr(bar + 1);
}

/// A number in a form that the voice reads correctly.
std::string SpokenSigns::digitsOf(std::string_view number) const {
  const std::size_t stop = number.find('.');
  if (readsDecimals || stop == std::string_view::npos) {
    return std::string(number);
  }
  std::string spoken(number.substr(0, stop));
  spoken.append(" ").append(names.of("#.#"));
  for (const char digit : number.substr(stop + 1)) {
    spoken.append(" ").append(1, digit);
  }
  return spoken;
}

}  // namespace KQ::engines
