#include "support/user_dictionary.hpp"

#include <algorithm>

#include "support/markup_reader.hpp"
#include "support/utf8.hpp"
#include "support/word_reader.hpp"

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

void requireValid(const DictionaryEntry& entry) {
  requireText("word", entry.word, UserDictionary::longestWord);
  requireText("replacement", entry.replacement, UserDictionary::longestReplacement);
  if (WordReader(entry.word).next() != std::string_view(entry.word)) {
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
  if (word.size() > longestWord) {
    return nullptr;
  }
  const auto sameSpelling = exact.find(std::string(word));
  if (sameSpelling != exact.end()) {
    return &sameSpelling->second;
  }
  const auto anySpelling = anyCase.find(toLowerCase(word));
  return anySpelling == anyCase.end() ? nullptr : &anySpelling->second;
}

std::optional<ReplacedText> UserDictionary::replaceIn(std::string_view text) const {
  ReplacedText replaced(text);
  MarkupReader reader(text);
  while (const std::optional<MarkupItem> item = reader.next()) {
    if (item->kind != MarkupItem::Kind::text) {
      continue;
    }
    WordReader words(text.substr(item->offset, item->length));
    while (const std::optional<std::string_view> word = words.next()) {
      const auto place = static_cast<std::size_t>(word->data() - text.data());
      // Behind a backslash, the replacement might be read as the name of a tag.
      const bool isFree = place == item->offset || text[place - 1] != '\\';
      if (const DictionaryEntry* entry = isFree ? find(*word) : nullptr) {
        replaced.replace(place, word->size(), entry->replacement);
      }
    }
  }
  if (!replaced.isChanged()) {
    return std::nullopt;
  }
  replaced.finish();
  return replaced;
}

}  // namespace KQ::engines
