#include "text_oracle.hpp"

#include <boost/algorithm/string/find.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <cstdint>
#include <cstdlib>
#include <locale>
#include <sstream>

namespace oracle {

namespace {

bool hasTagAt(const std::string& text, std::size_t position) {
  static const std::vector<std::string> options = {
      "\\Pau=", "\\Vol=", "\\VCT=", "\\RSPD=", "\\RST", "\\mrk=", "\\Style=", "\\last"};
  const std::string rest = text.substr(position);
  for (const std::string& prefix : options) {
    const auto found = boost::algorithm::ifind_first(rest, prefix);
    if (!found.empty() && found.begin() == rest.begin()) {
      return true;
    }
  }
  return false;
}

bool holdsCompleteTag(const std::string& text) {
  for (std::size_t p = 0; p < text.size(); ++p) {
    if (text[p] == '\\' && hasTagAt(text, p) && text.find('\\', p + 1) != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

void tokenizeString(const std::string& text, std::vector<std::string>& tokens,
                    const std::string& delimiters) {
  std::size_t begin = text.find_first_not_of(delimiters, 0);
  std::size_t end = text.find_first_of(delimiters, begin);
  while (begin != std::string::npos || end != std::string::npos) {
    tokens.push_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(delimiters, end);
    end = text.find_first_of(delimiters, begin);
  }
}

void replaceMrkPause(std::string& text) {
  std::string copy = text;
  std::size_t pos = 0;
  for (;;) {
    const std::size_t start = copy.find("\\mrkpause=", pos);
    if (start == std::string::npos) {
      break;
    }
    const std::size_t valueStart = start + 10;
    const std::size_t close = copy.find('\\', valueStart);
    if (close == std::string::npos) {
      break;
    }
    const std::string value = copy.substr(valueStart, close - valueStart);
    const auto number = static_cast<std::uint32_t>(std::strtol(value.c_str(), nullptr, 10));
    std::ostringstream replacement;
    replacement.imbue(std::locale::classic());
    replacement << "\\mrk=" << static_cast<std::int32_t>(65536U - number) << "\\ ";
    copy.replace(start, 10 + value.size() + 1, replacement.str());
    pos = start + replacement.str().size();
  }
  text = copy;
}

void replaceIncorrectApostrophe(std::string& text) {
  const std::string quotation = "\xE2\x80\x99";
  for (std::size_t found = text.find(quotation); found != std::string::npos;
       found = text.find(quotation)) {
    text.replace(found, quotation.size(), "'");
  }
}

std::size_t countUtf8Chars(const char* text) {
  std::size_t count = 0;
  for (; *text != '\0'; ++text) {
    if ((static_cast<unsigned char>(*text) & 0xC0U) != 0x80U) {
      ++count;
    }
  }
  return count;
}

std::string replaceTags(const std::string& text, const char* replacement) {
  const bool endless = holdsCompleteTag(replacement);
  std::string result = text;
  std::size_t pos = 0;
  while (pos < result.size()) {
    const std::size_t p = result.find('\\', pos);
    if (p == std::string::npos) {
      break;
    }
    if (!hasTagAt(result, p)) {
      pos = p + 1;
      continue;
    }
    const std::size_t close = result.find('\\', p + 1);
    if (close == std::string::npos) {
      pos = p + 1;
      continue;
    }
    result.replace(p, close - p + 1, replacement);
    pos = endless ? p + std::string(replacement).size() : p;
  }
  boost::algorithm::trim(result);
  return result;
}

bool isTagsOnlySentence(const std::string& text) {
  bool inTag = false;
  for (const char* at = text.c_str(); *at != '\0'; ++at) {
    if (*at == '\\') {
      inTag = !inTag;
    } else if (!inTag && *at != ' ') {
      return false;
    }
  }
  return !inTag;
}

}  // namespace oracle
