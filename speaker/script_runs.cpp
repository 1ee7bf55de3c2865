#include "script_runs.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

#include "utf8.hpp"

namespace KQ::speaking {

namespace {

enum Script { none, latin, greek, cyrillic, hebrew, arabic, devanagari, thai, hangul, kana, han };

struct Range {
  char32_t first;
  char32_t last;
  Script script;
};
// Letters of Unicode's blocks; what stands between belongs to any script.
constexpr std::array<Range, 30> ranges{
    {{0x41, 0x5A, latin},      {0x61, 0x7A, latin},        {0xC0, 0xD6, latin},
     {0xD8, 0xF6, latin},      {0xF8, 0x24F, latin},       {0x370, 0x373, greek},
     {0x376, 0x377, greek},    {0x37B, 0x37D, greek},      {0x386, 0x386, greek},
     {0x388, 0x3FF, greek},    {0x400, 0x481, cyrillic},   {0x48A, 0x52F, cyrillic},
     {0x5D0, 0x5EA, hebrew},   {0x620, 0x64A, arabic},     {0x66E, 0x6D3, arabic},
     {0x6FA, 0x6FF, arabic},   {0x904, 0x939, devanagari}, {0xE01, 0xE30, thai},
     {0xE40, 0xE46, thai},     {0x1100, 0x11FF, hangul},   {0x1E00, 0x1EFF, latin},
     {0x1F00, 0x1FFC, greek},  {0x3041, 0x3096, kana},     {0x30A1, 0x30FA, kana},
     {0x3131, 0x318E, hangul}, {0x3400, 0x4DBF, han},      {0x4E00, 0x9FFF, han},
     {0xAC00, 0xD7A3, hangul}, {0xF900, 0xFAFF, han},      {0xFF66, 0xFF9D, kana}}};

Script scriptOf(char32_t character) {
  const auto* const found =
      std::lower_bound(ranges.begin(), ranges.end(), character,
                       [](const Range& range, char32_t point) { return range.last < point; });
  return found != ranges.end() && found->first <= character ? found->script : none;
}

struct Spelling {
  const char* code;
  Script script;
};
// The languages of the language table that are not written in the Latin script alone.
constexpr Spelling spellings[] = {
    {"el", greek},    {"ru", cyrillic},   {"uk", cyrillic}, {"be", cyrillic}, {"bg", cyrillic},
    {"sr", cyrillic}, {"mk", cyrillic},   {"he", hebrew},   {"ar", arabic},   {"fa", arabic},
    {"ur", arabic},   {"hi", devanagari}, {"th", thai},     {"ko", hangul},   {"ko", han},
    {"ja", kana},     {"ja", han},        {"zh", han}};

bool writesWith(const std::string& code, Script script) {
  bool isListed = false;
  for (const Spelling& spelling : spellings) {
    if (code == spelling.code) {
      isListed = true;
      if (spelling.script == script) {
        return true;
      }
    }
  }
  return !isListed && script == latin;
}

/// The stretch that goes on until a letter of another script.
std::string_view runOf(std::string_view text, Script script) {
  std::size_t at = 0;
  while (at < text.size()) {
    const Character character = characterAt(text, at);
    const Script next = scriptOf(character.point);
    if (next != none && next != script) {
      break;
    }
    at += character.length;
  }
  return text.substr(0, at);
}

/// Whether there are two words of two letters or more: single foreign words are left to the voice,
/// which knows how its speakers say them.
bool hasTwoWords(std::string_view run) {
  std::size_t words = 0;
  std::size_t letters = 0;
  for (std::size_t at = 0; at < run.size();) {
    const Character character = characterAt(run, at);
    letters = scriptOf(character.point) == latin ? letters + 1 : 0;
    words += letters == 2 ? 1 : 0;
    at += character.length;
  }
  return words >= 2;
}

bool holdsKana(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    if (scriptOf(character.point) == kana) {
      return true;
    }
    at += character.length;
  }
  return false;
}

}  // namespace

ScriptRuns::ScriptRuns(const std::string& locale, CanSpeak canSpeakLanguage)
    : ownCode(locale.substr(0, locale.find('_'))), canSpeak(std::move(canSpeakLanguage)) {}

std::string ScriptRuns::codeFor(std::string_view rest, int script) const {
  const auto wanted = static_cast<Script>(script);
  if (writesWith(ownCode, wanted)) {
    return "";
  }
  if (!current.empty() && writesWith(current, wanted)) {
    return current;
  }
  std::string code;
  if (wanted == latin) {
    code = hasTwoWords(runOf(rest, latin)) ? "en" : "";
  } else if (wanted == han) {
    code = holdsKana(rest) ? "ja" : "zh";
  } else {
    const auto* const found =
        std::find_if(std::begin(spellings), std::end(spellings),
                     [&](const Spelling& spelling) { return spelling.script == wanted; });
    code = found == std::end(spellings) ? "" : found->code;
  }
  return !code.empty() && canSpeak(code) ? code : "";
}

void ScriptRuns::split(std::string_view text, const Take& take) {
  std::size_t begin = 0;
  Script last = none;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    const Script script = scriptOf(character.point);
    if (script != none && script != last) {
      last = script;
      const std::string code = codeFor(text.substr(at), script);
      if (code != current) {
        if (at > begin) {
          take(text.substr(begin, at - begin), current);
        }
        begin = at;
        current = code;
      }
    }
    at += character.length;
  }
  if (begin < text.size()) {
    take(text.substr(begin), current);
  }
}

}  // namespace KQ::speaking
