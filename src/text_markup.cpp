#include <sys/mman.h>
#include <unistd.h>

#include <QtCore/QRegExp>
#include <QtCore/QString>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <kqtts/tts_preference.hpp>
#include <limits>
#include <locale>
#include <numeric>
#include <string_view>
#include <system_error>
#include <utility>

namespace KQ {

namespace {

constexpr char tagMark = '\\';
constexpr auto npos = std::string_view::npos;

/// Reserves memory. Asks for large pages if it is much: mapping small pages would take most of the
/// time that a long text needs.
template <typename Container>
void reserve(Container& container, std::size_t count) {
  constexpr std::size_t large = std::size_t{4} * 1024 * 1024;
  container.reserve(count);
  const std::size_t size = count * sizeof(typename Container::value_type);
  if (size >= large) {
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    auto* const begin = reinterpret_cast<char*>(container.data());
    const auto beyondPage = reinterpret_cast<std::uintptr_t>(begin) % pageSize;
    const std::size_t firstPage = beyondPage == 0 ? 0 : pageSize - beyondPage;
    ::madvise(begin + firstPage, size - firstPage, MADV_HUGEPAGE);
  }
}

// Known tags ---------------------------------------------------------------------------------

/// What the functions for texts recognise as tags. Their interface fixes this list; the tags that
/// the engines of this tree speak are in engines/text/inline_tags.inc.
constexpr std::string_view knownTags[] = {R"(\Pau=)", R"(\Vol=)", R"(\VCT=)",   R"(\RSPD=)",
                                          R"(\RST)",  R"(\mrk=)", R"(\Style=)", R"(\last)"};

constexpr std::size_t lengthOfLongestKnownTag() {
  std::size_t longest = 0;
  for (const std::string_view tag : knownTags) {
    longest = tag.size() > longest ? tag.size() : longest;
  }
  return longest;
}

constexpr std::size_t longestKnownTag = lengthOfLongestKnownTag();

using ByteTable = std::array<char, 256>;

constexpr ByteTable makeAsciiUpperCase() {
  ByteTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const bool lower = byte >= 'a' && byte <= 'z';
    table[byte] = static_cast<char>(lower ? byte - 'a' + 'A' : byte);
  }
  return table;
}

constexpr ByteTable asciiUpperCase = makeAsciiUpperCase();

/// The character classes of the global locale at the time of construction.
class Characters {
 public:
  Characters() {
    // Looking up a facet would take much of the time that a sentence needs.
    static const auto& classicType = std::use_facet<std::ctype<char>>(std::locale::classic());
    if (locale == std::locale::classic()) {
      type = &classicType;
      return;
    }
    type = &std::use_facet<std::ctype<char>>(locale);
    for (std::size_t byte = 0; byte < upperCase.size(); ++byte) {
      upperCase[byte] = static_cast<char>(byte);
    }
    type->toupper(upperCase.data(), upperCase.data() + upperCase.size());
    upper = upperCase.data();
  }
  Characters(const Characters&) = delete;
  Characters& operator=(const Characters&) = delete;

  bool beginsWithKnownTag(std::string_view text) const {
    return std::any_of(std::begin(knownTags), std::end(knownTags), [&](std::string_view tag) {
      return tag.size() <= text.size() &&
             std::equal(tag.begin(), tag.end(), text.begin(),
                        [this](char left, char right) { return upperOf(left) == upperOf(right); });
    });
  }

  /// \return the text without the white space at its ends
  std::string_view trimmed(std::string_view text) const {
    while (!text.empty() && isSpace(text.back())) {
      text.remove_suffix(1);
    }
    while (!text.empty() && isSpace(text.front())) {
      text.remove_prefix(1);
    }
    return text;
  }

 private:
  bool isSpace(char character) const { return type->is(std::ctype_base::space, character); }
  char upperOf(char character) const { return upper[static_cast<unsigned char>(character)]; }

  const std::locale locale;  // keeps its facet alive
  const std::ctype<char>* type;
  ByteTable upperCase;  // set only if the locale is not the classic one
  const char* upper = asciiUpperCase.data();
};

struct Tag {
  std::size_t begin;  ///< npos if there is none
  std::size_t end;    ///< after the closing backslash
};

/// Finds the next known tag that is closed. Inline, because the call would take much of the time
/// that a short tag needs.
inline Tag findKnownTag(std::string_view text, std::size_t from, const Characters& characters) {
  std::size_t begin = text.find(tagMark, from);
  while (begin != npos) {
    const std::size_t close = text.find(tagMark, begin + 1);
    if (close != npos && characters.beginsWithKnownTag(text.substr(begin))) {
      return {begin, close + 1};
    }
    begin = close;
  }
  return {npos, npos};
}

/// The text that replaces each known tag. It has two parts: one that is final, and one, from the
/// last backslash on, that may form a tag together with the text after it.
class Replacement {
 public:
  Replacement(std::string_view text, const Characters& characters) : head(text), known(characters) {
    const std::size_t last = text.rfind(tagMark);
    // If the replacement holds a whole tag, searching the inserted text again would never end.
    if (last != npos && findKnownTag(text, 0, known).begin == npos) {
      head = text.substr(0, last);
      tail = text.substr(last);
    }
  }

  /// Appends to `result` the replacement of the tag in `source` that ends at `end`, and of the tags
  /// that this replacement forms.
  /// \return the end of everything that was replaced
  std::size_t appendTo(std::string& result, std::string_view source, std::size_t end) const {
    result.append(head);
    while (makesKnownTagWith(source.substr(end))) {
      const std::size_t close = source.find(tagMark, end);
      if (close == npos) {
        break;
      }
      result.append(head);
      end = close + 1;
    }
    result.append(tail);
    return end;
  }

 private:
  bool makesKnownTagWith(std::string_view following) const {
    if (tail.empty()) {
      return false;
    }
    std::string beginning(tail.substr(0, longestKnownTag));
    beginning.append(following.substr(0, longestKnownTag - beginning.size()));
    return known.beginsWithKnownTag(beginning);
  }

  std::string_view head;
  std::string_view tail;
  const Characters& known;
};

void trim(std::string& text, const Characters& characters) {
  const std::string_view kept = characters.trimmed(text);
  const auto begin = static_cast<std::size_t>(kept.data() - text.data());
  text.resize(begin + kept.size());
  text.erase(0, begin);
}

// Tokens and characters ----------------------------------------------------------------------

/// For each byte, 1 if it is a delimiter, else 0.
using DelimiterTable = std::array<unsigned char, 256>;

DelimiterTable makeDelimiterTable(std::string_view delimiters) {
  DelimiterTable table{};
  for (const char delimiter : delimiters) {
    table[static_cast<unsigned char>(delimiter)] = 1;
  }
  return table;
}

/// Counts the ends of separators without a branch, because no processor could predict it.
std::size_t countTokens(std::string_view text, const DelimiterTable& delimiterTable) {
  std::size_t count = 0;
  unsigned previous = 1;
  for (const char byte : text) {
    const unsigned current = delimiterTable[static_cast<unsigned char>(byte)];
    count += previous & ~current;
    previous = current;
  }
  return count;
}

// Adds up bytes in parallel counters: compilers make vector instructions of that.
constexpr std::size_t lanes = 32;
constexpr std::size_t countedBlock = 4096;  // stays in the first-level cache between two passes
static_assert(countedBlock / lanes <= 255, "the sums overflow");

/// The number of bytes of a block that are not UTF-8 continuation bytes.
std::size_t countLeadBytes(const char* block, std::size_t size) {
  const auto isLead = [](char byte) { return static_cast<signed char>(byte) >= -0x40; };
  const char* const end = block + size;
  std::array<unsigned char, lanes> sums{};
  for (; end - block >= static_cast<std::ptrdiff_t>(lanes); block += lanes) {
    for (std::size_t lane = 0; lane < lanes; ++lane) {
      sums[lane] = static_cast<unsigned char>(sums[lane] + (isLead(block[lane]) ? 1 : 0));
    }
  }
  return std::accumulate(sums.begin(), sums.end(), std::size_t{0}) +
         static_cast<std::size_t>(std::count_if(block, end, isLead));
}

// Rewriting in place -------------------------------------------------------------------------

/// Rewrites the places of a text that begin with a mark, from front to back and without a copy of
/// the text. The text is complete when this object is destroyed.
template <std::size_t size>
class Rewriting {
 public:
  Rewriting(std::string& original, const char (&literal)[size]) : text(original), mark(literal) {}
  Rewriting(const Rewriting&) = delete;
  Rewriting& operator=(const Rewriting&) = delete;
  ~Rewriting() {
    if (position != 0) {
      keepUntil(text.size());
      text.resize(written);
    }
  }

  /// The position of the next mark, or npos.
  std::size_t next() const {
    const char* const begin = text.data();
    for (std::size_t at = position; at + markSize <= text.size(); ++at) {
      const void* const found = std::memchr(begin + at, mark[0], text.size() - markSize + 1 - at);
      if (found == nullptr) {
        break;
      }
      at = static_cast<std::size_t>(static_cast<const char*>(found) - begin);
      if (std::memcmp(found, mark, markSize) == 0) {
        return at;
      }
    }
    return npos;
  }

  /// Replaces the text between the two positions, and keeps the text before them.
  void replace(std::size_t begin, std::size_t end, std::string_view replacement) {
    keepUntil(begin);
    position = end;
    if (position - written < replacement.size()) {
      // Reserves space in proportion to the rest, so that the rest is moved seldom.
      const std::size_t room = replacement.size() + (text.size() - position) / 8;
      text.insert(position, room, '\0');
      position += room;
    }
    std::memcpy(text.data() + written, replacement.data(), replacement.size());
    written += replacement.size();
  }

  static constexpr std::size_t markSize = size - 1;

 private:
  void keepUntil(std::size_t end) {
    std::memmove(text.data() + written, text.data() + position, end - position);
    written += end - position;
    position = end;
  }

  std::string& text;
  const char (&mark)[size];
  std::size_t position = 0;  // everything before it is written
  std::size_t written = 0;
};

/// Reads a number like atoi() in the C locale. A number out of range becomes the nearest long, of
/// which the low bits are used.
int readNumber(std::string_view text) {
  const auto isSpace = [](char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); };
  while (!text.empty() && isSpace(text.front())) {
    text.remove_prefix(1);
  }
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
    text.remove_prefix(1);
  }
  long number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<long>;
    number = text.front() == '-' ? Limits::min() : Limits::max();
  }
  return static_cast<int>(number);
}

/// The mark "\mrk=ID\ ".
class EngineMark {
 public:
  explicit EngineMark(int id) {
    char* end = append(buffer.data(), R"(\mrk=)");
    end = std::to_chars(end, buffer.data() + buffer.size(), id).ptr;
    size = static_cast<std::size_t>(append(end, R"(\ )") - buffer.data());
  }
  std::string_view text() const { return {buffer.data(), size}; }

 private:
  static char* append(char* end, std::string_view text) {
    return std::copy(text.begin(), text.end(), end);
  }

  std::array<char, 24> buffer;
  std::size_t size;
};

// Sentences of tags --------------------------------------------------------------------------

/// The longest text for which the regular expression is used. It takes about 50 ns a byte, and its
/// kind of string cannot be as long as a text.
constexpr std::size_t longestMatched = std::size_t{64} * 1024;

bool matchesTagsOnly(std::string_view text) {
  static const QRegExp tagsOnlyRegExp(QStringLiteral(R"(^ *(\\[^\\]*\\ *)*$)"),
                                      Qt::CaseInsensitive);
  // A copy, because matching writes to the expression.
  QRegExp matcher(tagsOnlyRegExp);
  return matcher.indexIn(QString::fromLatin1(text.data(), static_cast<int>(text.size()))) == 0;
}

/// Returns the same for a text of any length that begins with a mark.
bool scanTagsOnly(std::string_view text) {
  for (std::size_t begin = 0; begin != npos; begin = text.find_first_not_of(' ', begin)) {
    const std::size_t close = text[begin] == tagMark ? text.find(tagMark, begin + 1) : npos;
    if (close == npos) {
      return false;
    }
    begin = close + 1;
  }
  return true;
}

}  // namespace

// Tokenizing and pause marks -----------------------------------------------------------------

void tokenizeString(std::string& text, std::vector<std::string>& tokens,
                    const std::string& delimiters) {
  const DelimiterTable delimiterTable = makeDelimiterTable(delimiters);
  const auto isDelimiter = [&](char byte) {
    return delimiterTable[static_cast<unsigned char>(byte)] != 0;
  };
  const char* const end = text.data() + text.size();
  const std::size_t needed = tokens.size() + countTokens(text, delimiterTable);
  if (needed > tokens.capacity()) {
    reserve(tokens, std::max(needed, 2 * tokens.capacity()));
  }
  const char* begin = std::find_if_not<const char*>(text.data(), end, isDelimiter);
  while (begin != end) {
    const char* const behind = std::find_if(begin, end, isDelimiter);
    tokens.emplace_back(begin, behind);
    begin = std::find_if_not(behind, end, isDelimiter);
  }
}

int makeSpecificId(int id) {
  return static_cast<int>(65536U - static_cast<unsigned>(id));
}

void replaceMrkPause(std::string& text) {
  Rewriting rewriting(text, R"(\mrkpause=)");
  for (std::size_t start = rewriting.next(); start != npos; start = rewriting.next()) {
    const std::size_t valueStart = start + rewriting.markSize;
    const std::size_t close = text.find(tagMark, valueStart);
    if (close == npos) {
      break;
    }
    const std::string_view value(text.data() + valueStart, close - valueStart);
    const EngineMark mark(makeSpecificId(readNumber(value)));
    rewriting.replace(start, close + 1, mark.text());
  }
}

void replaceIncorrectApostrophe(std::string& text) {
  Rewriting rewriting(text, "\xE2\x80\x99");
  for (std::size_t start = rewriting.next(); start != npos; start = rewriting.next()) {
    rewriting.replace(start, start + rewriting.markSize, "'");
  }
}

std::size_t countUtf8Chars(const char* text) {
  std::size_t count = 0;
  for (;; text += countedBlock) {
    const std::size_t size = strnlen(text, countedBlock);
    count += countLeadBytes(text, size);
    if (size < countedBlock) {
      return count;
    }
  }
}

// Tags ---------------------------------------------------------------------------------------

bool checkLastTag(const std::string& text) {
  return text.find(R"(\last)") != std::string::npos;
}

std::string replaceTags(const std::string& text, const char* replacement) {
  const Characters characters;
  const std::string_view source = text;
  std::string result;
  Tag tag = findKnownTag(source, 0, characters);
  if (tag.begin == npos) {
    const std::string_view kept = characters.trimmed(source);
    reserve(result, kept.size());
    result.append(kept);
    return result;
  }
  const Replacement replacing(replacement, characters);
  reserve(result, source.size());
  std::size_t copied = 0;
  for (; tag.begin != npos; tag = findKnownTag(source, copied, characters)) {
    result.append(source, copied, tag.begin - copied);
    copied = replacing.appendTo(result, source, tag.end);
  }
  result.append(source, copied, npos);
  trim(result, characters);
  return result;
}

bool isTagsOnlySentence(const std::string& text) {
  const char* const begin = text.c_str() + std::strspn(text.c_str(), " ");
  if (*begin != tagMark) {
    return *begin == '\0';  // does not read the rest, which may be long
  }
  const std::string_view sentence = begin;
  if (sentence[sentence.find_last_not_of(' ')] != tagMark) {
    return false;
  }
  return sentence.size() <= longestMatched ? matchesTagsOnly(sentence) : scanTagsOnly(sentence);
}

}  // namespace KQ
