#include "dictionary/user_dictionary.hpp"

#include <algorithm>

#include "text/utf8.hpp"
#include "text/word_parts.hpp"

namespace KQ::engines {

namespace {

/// \param what  names it in errors
void requireText(const std::string& what, const std::string& text, std::size_t longest) {
  const auto isControl = [](unsigned char byte) { return byte < ' ' || byte == 0x7F; };
  if (text.size() > longest) {
    throw DictionaryError("the " + what + " is longer than " + std::to_string(longest) + " bytes");
  }
  if (!isValidUtf8(text)) {
    throw DictionaryError("the " + what + " is no UTF-8");
  }
  if (std::any_of(text.begin(), text.end(), isControl)) {
    throw DictionaryError("the " + what + " holds a control character");
  }
  if (text.find_first_of("\\<>") != std::string::npos) {
    throw DictionaryError("the " + what + " holds markup: a backslash or an angle bracket");
  }
}

/// Returns how many parts the text consists of, or 0 if it has anything between them.
std::size_t countParts(std::string_view text) {
  const WordParts parts(text);
  std::size_t count = 0;
  std::size_t place = 0;
  for (; place < text.size() && parts.beginsAt(place); ++count) {
    place += parts.lengthAt(place, text.size());
  }
  return place == text.size() ? count : 0;
}

void requireValid(const DictionaryEntry& entry) {
  requireText("word", entry.word, UserDictionary::longestWord);
  requireText("replacement", entry.replacement, UserDictionary::longestReplacement);
  if (countParts(entry.word) == 0) {
    throw DictionaryError("\"" + entry.word + "\" is not one word");
  }
  if (entry.replacement.find_first_not_of(' ') == std::string::npos) {
    throw DictionaryError("the replacement is empty");
  }
}

}  // namespace

bool UserDictionary::add(const DictionaryEntry& entry) {
  requireValid(entry);
  auto& entries = entry.isExact ? exact : anyCase;
  const std::string key = entry.isExact ? entry.word : toLowerCase(entry.word);
  const auto old = entries.find(key);
  if (old == entries.end() && exact.size() + anyCase.size() >= mostEntries) {
    throw DictionaryError("the dictionary is full: it has " + std::to_string(mostEntries) +
                          " entries");
  }
  if (old != entries.end() && old->second.replacement == entry.replacement) {
    return false;
  }
  entries[key] = entry;
  const std::string firstPart =
      entry.word.substr(0, WordParts(entry.word).lengthAt(0, entry.word.size()));
  std::size_t& most = mostParts[toLowerCase(firstPart)];
  most = std::max(most, countParts(entry.word));
  return true;
}

bool UserDictionary::remove(const std::string& word) {
  const std::size_t removed = exact.erase(word) + anyCase.erase(toLowerCase(word));
  return removed > 0;
}

std::multimap<std::string, DictionaryEntry> UserDictionary::entries() const {
  std::multimap<std::string, DictionaryEntry> all;
  for (const auto* some : {&exact, &anyCase}) {
    for (const auto& [key, entry] : *some) {
      all.emplace(entry.word, entry);
    }
  }
  return all;
}

const DictionaryEntry* UserDictionary::find(std::string_view word) const {
  const auto sameSpelling = exact.find(std::string(word));
  if (sameSpelling != exact.end()) {
    return &sameSpelling->second;
  }
  const auto anySpelling = anyCase.find(toLowerCase(word));
  return anySpelling == anyCase.end() ? nullptr : &anySpelling->second;
}

DictionaryMatch UserDictionary::matchAt(std::string_view text, std::size_t place) const {
  const WordParts parts(text);
  std::size_t length = parts.lengthAt(place, longestWord);
  if (length == 0) {
    return {nullptr, longestWord};
  }
  DictionaryMatch match{nullptr, length};
  const auto most = mostParts.find(toLowerCase(text.substr(place, length)));
  if (most == mostParts.end()) {
    return match;
  }
  match.entry = find(text.substr(place, length));
  for (std::size_t count = 1; count < most->second && parts.beginsAt(place + length); ++count) {
    const std::size_t part = parts.lengthAt(place + length, longestWord - length);
    if (part == 0) {
      break;
    }
    length += part;
    if (const DictionaryEntry* entry = find(text.substr(place, length))) {
      match = {entry, length};
    }
  }
  return match;
}

}  // namespace KQ::engines
