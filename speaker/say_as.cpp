#include "say_as.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <vector>

#include "utf8.hpp"

namespace KQ::speaking {

namespace {

constexpr std::size_t monthsInYear = 12;

/// How a language writes dates and ordinals so that engines read them out.
struct Language {
  const char* code;
  const char* ordinalEnd;  ///< after a number; of English, see ordinal()
  const char* dateOrder;   ///< d, m, y for the parts, all else as it stands
  std::array<const char*, monthsInYear> months;
};
constexpr Language languages[] = {
    {"en",
     "th",
     "m d, y",
     {"January", "February", "March", "April", "May", "June", "July", "August", "September",
      "October", "November", "December"}},
    {"de",
     ".",
     "d. m y",
     {"Januar", "Februar", "März", "April", "Mai", "Juni", "Juli", "August", "September", "Oktober",
      "November", "Dezember"}},
    {"fr",
     "e",
     "d m y",
     {"janvier", "février", "mars", "avril", "mai", "juin", "juillet", "août", "septembre",
      "octobre", "novembre", "décembre"}},
    {"es",
     "º",
     "d de m de y",
     {"enero", "febrero", "marzo", "abril", "mayo", "junio", "julio", "agosto", "septiembre",
      "octubre", "noviembre", "diciembre"}},
    {"it",
     "º",
     "d m y",
     {"gennaio", "febbraio", "marzo", "aprile", "maggio", "giugno", "luglio", "agosto", "settembre",
      "ottobre", "novembre", "dicembre"}},
    {"pt",
     "º",
     "d de m de y",
     {"janeiro", "fevereiro", "março", "abril", "maio", "junho", "julho", "agosto", "setembro",
      "outubro", "novembro", "dezembro"}},
    {"nl",
     "e",
     "d m y",
     {"januari", "februari", "maart", "april", "mei", "juni", "juli", "augustus", "september",
      "oktober", "november", "december"}}};

const Language* languageOf(const std::string& locale) {
  const std::string code = locale.substr(0, locale.find('_'));
  const auto* const found = std::find_if(std::begin(languages), std::end(languages),
                                         [&](const Language& row) { return code == row.code; });
  return found == std::end(languages) ? nullptr : found;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// The runs of digits of a text.
std::vector<std::string> numbersIn(const std::string& text) {
  std::vector<std::string> numbers(1);
  for (const char c : text) {
    if (isDigit(c)) {
      numbers.back() += c;
    } else if (!numbers.back().empty()) {
      numbers.emplace_back();
    }
  }
  if (numbers.back().empty()) {
    numbers.pop_back();
  }
  return numbers;
}

std::string characters(const std::string& text) {
  std::string spelled;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    const std::string letter = text.substr(at, character.length);
    if (letter != " " && letter != "\n" && letter != "\t") {
      spelled += (spelled.empty() ? "" : ", ") + letter;
    }
    at += character.length;
  }
  return spelled;
}

std::string digits(const std::string& text) {
  std::string spelled;
  for (const char c : text) {
    if (isDigit(c)) {
      spelled += (spelled.empty() ? "" : " ") + std::string(1, c);
    }
  }
  return spelled.empty() ? text : spelled;
}

/// Digit by digit, with a pause between the groups that are written.
std::string telephone(const std::string& text) {
  std::string spelled = text.find('+') == std::string::npos ? "" : "+ ";
  bool isFirst = true;
  for (const std::string& group : numbersIn(text)) {
    spelled += (isFirst ? "" : ", ") + digits(group);
    isFirst = false;
  }
  return isFirst ? text : spelled;
}

std::string cardinal(const std::string& text) {
  const bool isNegative = text.find('-') != std::string::npos;
  const std::vector<std::string> numbers = numbersIn(text);
  return numbers.size() == 1 ? (isNegative ? "-" : "") + numbers.front() : text;
}

std::string ordinal(const std::string& text, const std::string& locale) {
  const std::vector<std::string> numbers = numbersIn(text);
  const Language* const language = languageOf(locale);
  if (numbers.size() != 1 || language == nullptr) {
    return text;
  }
  const std::string& number = numbers.front();
  std::string end = language->ordinalEnd;
  const bool isTeen = number.size() > 1 && number[number.size() - 2] == '1';
  if (end == "th" && !isTeen) {
    end = number.back() == '1' ? "st" : number.back() == '2' ? "nd" : end;
    end = number.back() == '3' ? "rd" : end;
  } else if (end == "e" && number == "1" && std::string(language->code) == "fr") {
    end = "er";
  }
  return number + end;
}

std::string date(const std::string& format, const std::string& text, const std::string& locale) {
  const std::vector<std::string> numbers = numbersIn(text);
  const Language* const language = languageOf(locale);
  const std::string order = format.empty() && numbers.size() == 3 && numbers[0].size() == 4
                                ? "ymd"
                                : (format.empty() ? "dmy" : format);
  if (language == nullptr || numbers.size() != order.size()) {
    return text;
  }
  std::string day;
  std::string month;
  std::string year;
  for (std::size_t i = 0; i < order.size(); ++i) {
    const std::string number =
        numbers[i].substr(std::min(numbers[i].find_first_not_of('0'), numbers[i].size() - 1));
    (order[i] == 'd' ? day : order[i] == 'm' ? month : year) = number;
  }
  if (!month.empty()) {
    const std::size_t index = month.size() > 2 ? 0 : static_cast<std::size_t>(std::stoi(month));
    if (index < 1 || index > monthsInYear) {
      return text;
    }
    month = language->months[index - 1];
  }
  std::string spoken;
  for (const char* part = language->dateOrder; *part != '\0'; ++part) {
    const bool isWord = *part == 'd' && part[1] == 'e';  // the word "de"
    if (isWord) {
      spoken += "de";
      ++part;
    } else {
      spoken += *part == 'd'   ? day
                : *part == 'm' ? month
                : *part == 'y' ? year
                               : std::string(1, *part);
    }
  }
  return day.empty() || month.empty() || year.empty() ? day + " " + month + " " + year : spoken;
}

std::string time(const std::string& text) {
  const std::vector<std::string> numbers = numbersIn(text);
  if (numbers.empty() || numbers.size() > 3) {
    return text;
  }
  std::string spoken = numbers[0];
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    spoken += ":" + numbers[i];
  }
  const std::size_t letters = text.find_first_of("apAP");
  return letters == std::string::npos ? spoken : spoken + " " + text.substr(letters);
}

}  // namespace

std::string spokenAs(const std::string& kind, const std::string& format, const std::string& text,
                     const std::string& locale) {
  if (kind == "characters" || kind == "spell-out") {
    return characters(text);
  }
  if (kind == "digits") {
    return digits(text);
  }
  if (kind == "cardinal" || kind == "number") {
    return format == "ordinal" ? ordinal(text, locale)
                               : (format == "telephone" ? telephone(text) : cardinal(text));
  }
  if (kind == "ordinal") {
    return ordinal(text, locale);
  }
  if (kind == "date") {
    return date(format, text, locale);
  }
  if (kind == "time") {
    return time(text);
  }
  return kind == "telephone" ? telephone(text) : text;
}

}  // namespace KQ::speaking
