#include "dictionary_oracle.hpp"

#include <algorithm>

#include "text/spoken_text.hpp"
#include "text/word_parts.hpp"

namespace oracle {

namespace {

using KQ::engines::DictionaryEntry;
using KQ::engines::MarkupItem;
using KQ::engines::MarkupReader;
using KQ::engines::SpokenText;
using KQ::engines::UserDictionary;
using KQ::engines::WordParts;

std::vector<MarkupItem> tagsOf(const std::string& text) {
  std::vector<MarkupItem> tags;
  MarkupReader reader(text);
  while (const auto item = reader.next()) {
    if (item->kind != MarkupItem::Kind::text) {
      tags.push_back(*item);
    }
  }
  return tags;
}

/// The positions where words may begin and end.
struct Places {
  std::vector<bool> isBegin;
  std::vector<bool> isEnd;

  explicit Places(const std::string& text) : isBegin(text.size() + 1), isEnd(text.size() + 1) {
    const WordParts parts(text);
    for (std::size_t place = 0; place < text.size(); ++place) {
      isBegin[place] = parts.beginsAt(place);
      if (isBegin[place]) {
        isEnd[place + parts.lengthAt(place, text.size())] = true;
      }
    }
    for (const MarkupItem& tag : tagsOf(text)) {
      std::fill_n(isBegin.begin() + static_cast<std::ptrdiff_t>(tag.offset), tag.length, false);
    }
  }
};

/// A copy of the entries, with their words in lower case.
struct Entries {
  std::vector<std::pair<std::string, DictionaryEntry>> all;

  explicit Entries(const UserDictionary& dictionary) {
    for (const auto& [word, entry] : dictionary.entries()) {
      all.emplace_back(KQ::engines::toLowerCase(word), entry);
    }
  }

  const DictionaryEntry* find(const std::string& word) const {
    const std::string lower = KQ::engines::toLowerCase(word);
    const DictionaryEntry* found = nullptr;
    for (const auto& [lowerWord, entry] : all) {
      if (entry.isExact ? entry.word == word : found == nullptr && lowerWord == lower) {
        found = &entry;
      }
    }
    return found;
  }
};

/// Appends replacements and unchanged bytes to a Rewritten.
class Writer {
 public:
  Writer(const std::string& original, Rewritten& target) : original(original), target(target) {}

  void addReplacement(const std::string& replacement, std::size_t begin, std::size_t end) {
    const auto before = last.empty() ? std::string_view(original).substr(0, begin) : last;
    const bool needsBlank = KQ::engines::joinWords(before, replacement);
    add((needsBlank ? " " : "") + replacement, begin, end);
    last = replacement;
  }

  void addByte(std::size_t place) {
    if (!last.empty() &&
        KQ::engines::joinWords(last, std::string_view(original).substr(place, 4))) {
      add(" ", target.begins.back(), target.ends.back());
    }
    add(original.substr(place, 1), place, place + 1);
    last.clear();
  }

 private:
  void add(const std::string& text, std::size_t begin, std::size_t end) {
    target.text += text;
    target.begins.insert(target.begins.end(), text.size(), begin);
    target.ends.insert(target.ends.end(), text.size(), end);
  }

  const std::string& original;
  Rewritten& target;
  std::string last;  ///< the replacement that was added last; empty after a byte
};

/// Compares the places of words in the original text with the expected ones.
std::string differenceOfPlaces(const SpokenText& spoken, const MarkupItem& item,
                               const Rewritten& expected) {
  const std::size_t end = item.offset + item.length;
  for (std::size_t begin = item.offset; begin < end;) {
    const std::size_t blank = std::min(expected.text.find(' ', begin), end);
    const std::size_t wordEnd = std::max(blank, begin + 1);
    const SpeechWord word = spoken.inOriginal({begin, wordEnd - begin, 7});
    const std::size_t expectedBegin = expected.begins[begin];
    if (word.textOffset != expectedBegin || word.samplePosition != 7 ||
        word.textOffset + word.textLength != expected.ends[wordEnd - 1]) {
      return "the place of the word at " + std::to_string(begin);
    }
    begin = wordEnd;
  }
  return "";
}

}  // namespace

Rewritten rewrite(const std::string& text, const UserDictionary& dictionary) {
  const Entries entries(dictionary);
  const Places places(text);
  Rewritten rewritten;
  Writer writer(text, rewritten);
  for (std::size_t place = 0; place < text.size();) {
    const DictionaryEntry* entry = nullptr;
    std::size_t end = place;
    if (places.isBegin[place]) {
      end = std::min(text.size(), place + UserDictionary::longestWord);
      for (; end > place && entry == nullptr; --end) {
        entry = places.isEnd[end] ? entries.find(text.substr(place, end - place)) : nullptr;
        end += entry == nullptr ? 0 : 1;
      }
    }
    if (entry == nullptr) {
      writer.addByte(place);
      ++place;
    } else {
      writer.addReplacement(entry->replacement, place, end);
      place = end;
    }
  }
  return rewritten;
}

std::string differenceOfSpokenText(const std::string& text, const UserDictionary& dictionary) {
  const Rewritten expected = rewrite(text, dictionary);
  const std::vector<MarkupItem> expectedTags = tagsOf(text);
  SpokenText spoken(text, &dictionary);
  std::size_t end = 0;
  std::size_t tags = 0;
  bool goesOn = false;
  while (const auto item = spoken.next()) {
    const bool isText = item->kind == MarkupItem::Kind::text;
    if (item->offset != end || (goesOn && !isText)) {
      return "the piece at " + std::to_string(end);
    }
    if (!isText) {
      const MarkupItem& tag = expectedTags.at(tags++);
      if (tag.kind != item->kind || tag.value != item->value) {
        return "the tag at " + std::to_string(end);
      }
    }
    if (spoken.view(item->offset, item->length) !=
        std::string_view(expected.text).substr(item->offset, item->length)) {
      return "the text at " + std::to_string(end);
    }
    end += item->length;
    const std::string places = differenceOfPlaces(spoken, *item, expected);
    if (!places.empty()) {
      return places;
    }
    goesOn = spoken.textGoesOn();
    spoken.release(end);
  }
  const bool isWhole = end == expected.text.size() && tags == expectedTags.size() && !goesOn;
  return isWhole ? "" : "the end";
}

}  // namespace oracle
