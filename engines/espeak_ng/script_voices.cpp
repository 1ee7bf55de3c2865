#include "espeak_ng/script_voices.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "text/text_places.hpp"

namespace KQ::engines {

namespace {

struct Script {
  char32_t first;
  char32_t last;
  std::string_view languages;  ///< those whose voices read it, each between blanks
  const char* voice;           ///< that reads it for all others; "" for none
};

/// The scripts that eSpeak NG knows. With the voice of another language it loads the rules of a
/// second language for them, and frees these rules while it uses them if it meets a character that
/// they do not know. So only voices of these languages get these characters; characters in none of
/// these ranges become blanks.
constexpr std::array<Script, 30> scripts{
    {{0x0370, 0x03FF, " el grc ", "el"},
     {0x0400, 0x052F, " ru uk be bg mk sr kk ky tt ba cv mn uz ", "ru"},
     {0x0530, 0x058F, " hy hyw ", "hy"},
     {0x0590, 0x05FF, " he ", "he"},
     {0x0600, 0x06FF, " ar fa ur sd ug ku ", "ar"},
     {0x0700, 0x074F, "", ""},
     {0x0900, 0x097F, " hi mr ne kok ", "hi"},
     {0x0980, 0x09FF, " bn as bpy ", "bn"},
     {0x0A00, 0x0A7F, " pa ", "pa"},
     {0x0A80, 0x0AFF, " gu ", "gu"},
     {0x0B00, 0x0B7F, " or ", "or"},
     {0x0B80, 0x0BFF, " ta ", "ta"},
     {0x0C00, 0x0C7F, " te ", "te"},
     {0x0C80, 0x0CFF, " kn ", "kn"},
     {0x0D00, 0x0D7F, " ml ", "ml"},
     {0x0D80, 0x0DFF, " si ", "si"},
     {0x0E00, 0x0E7F, " th ", "th"},
     {0x0E80, 0x0EFF, " lo ", ""},
     {0x0F00, 0x0FFF, "", ""},
     {0x1000, 0x109F, " my shn ", "my"},
     {0x10A0, 0x10FF, " ka ", "ka"},
     {0x1100, 0x11FF, " ko ", ""},
     {0x1200, 0x139F, " am ", "am"},
     {0x1F00, 0x1FFF, " el grc ", "el"},
     {0x3040, 0x30FF, " ja ", "ja"},
     {0x3100, 0x318F, " cmn yue hak ja ko ", ""},
     {0x3400, 0x9FFF, " cmn yue hak ja ", "cmn-latn-pinyin"},
     {0xA800, 0xABFF, "", ""},
     {0xAC00, 0xD7FF, " ko ", "ko"},
     {0xFF00, 0xFFEF, " cmn yue hak ja ko ", ""}}};

/// Voices that read Latin words wrongly: letter by letter, as pinyin, or with tones.
constexpr std::string_view withoutLatin = " cmn yue hak ja he ";
constexpr const char* latinVoice = "en";

/// What is safe with every voice: Latin letters, marks, punctuation and signs.
constexpr std::array<std::pair<char32_t, char32_t>, 10> common{{{0x0000, 0x036F},
                                                                {0x1AB0, 0x1AFF},
                                                                {0x1DC0, 0x1EFF},
                                                                {0x2000, 0x27FF},
                                                                {0x2900, 0x2BFF},
                                                                {0x2C60, 0x2C7F},
                                                                {0x2E00, 0x2E5F},
                                                                {0x3000, 0x303F},
                                                                {0xA720, 0xA7FF},
                                                                {0xFE00, 0xFE6F}}};

bool isCommon(char32_t point) {
  return std::any_of(common.begin(), common.end(), [point](const auto& range) {
    return point >= range.first && point <= range.second;
  });
}

bool isLatinLetter(char32_t point) {
  const bool isAscii = (point >= 'A' && point <= 'Z') || (point >= 'a' && point <= 'z');
  return isAscii || (point >= 0x00C0 && point <= 0x024F && point != U'×' && point != U'÷') ||
         (point >= 0x1E00 && point <= 0x1EFF);
}

const Script* scriptOf(char32_t point) {
  const auto* const found = std::find_if(scripts.begin(), scripts.end(), [&](const Script& script) {
    return point >= script.first && point <= script.last;
  });
  return found == scripts.end() ? nullptr : &*found;
}

/// \param languages  each between blanks
bool contains(std::string_view languages, const std::string& language) {
  for (std::size_t at = languages.find(language); at != std::string_view::npos;
       at = languages.find(language, at + 1)) {
    if (languages[at - 1] == ' ' && languages[at + language.size()] == ' ') {
      return true;
    }
  }
  return false;
}

bool isBlankOnly(std::string_view text) {
  return text.find_first_not_of(" \t\n") == std::string_view::npos;
}

}  // namespace

std::string languageOfVoice(const std::string& voiceFile) {
  const std::string name = voiceFile.substr(voiceFile.rfind('/') + 1);
  return name.substr(0, name.find_first_of("-+"));
}

bool isRead(char32_t point, const std::string& language) {
  if (isCommon(point)) {
    return true;
  }
  const Script* const script = scriptOf(point);
  return script != nullptr && contains(script->languages, language);
}

ScriptVoices::ScriptVoices(std::string voiceFile, Finder finder)
    : file(std::move(voiceFile)),
      language(languageOfVoice(file)),
      variant(file.find('+') == std::string::npos ? "" : file.substr(file.find('+'))),
      find(std::move(finder)),
      readsLatin(!contains(withoutLatin, language)) {}

/// The file of another voice for a character; "" if the text's voice reads it, or none does.
std::string ScriptVoices::voiceFor(char32_t point) const {
  std::string voice;
  if (isLatinLetter(point)) {
    voice = readsLatin ? "" : latinVoice;
  } else if (!isCommon(point)) {
    const Script* const script = scriptOf(point);
    voice = script == nullptr || contains(script->languages, language) ? "" : script->voice;
  }
  const std::string found = voice.empty() ? "" : find(voice);
  return found.empty() ? "" : found + variant;
}

bool ScriptVoices::needsOthers(std::string_view text) const {
  if (!find) {
    return false;
  }
  const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  for (std::size_t place = 0; place < text.size();) {
    if (isAscii(text[place]) &&
        (readsLatin || !isLatinLetter(static_cast<char32_t>(text[place])))) {
      ++place;
      continue;
    }
    const TextCharacter character = characterAt(text, place);
    if (!voiceFor(character.point).empty()) {
      return true;
    }
    place += character.length;
  }
  return false;
}

std::vector<VoiceRun> ScriptVoices::runs(std::string_view text) const {
  std::vector<VoiceRun> found;
  const auto add = [&](std::size_t end, const std::string& voiceFile) {
    const std::size_t begin = found.empty() ? 0 : found.back().end;
    if (begin == end) {
      return;
    }
    if (!found.empty() &&
        (found.back().voiceFile == voiceFile || isBlankOnly(text.substr(begin, end - begin)))) {
      found.back().end = end;
    } else {
      found.push_back({begin, end, voiceFile});
    }
  };
  std::string current = file;
  std::size_t wordsEnd = 0;  // what follows are blanks, signs and digits
  for (std::size_t place = 0; place < text.size();) {
    const TextCharacter character = characterAt(text, place);
    const bool isLetter = isLatinLetter(character.point) || !isCommon(character.point);
    if (isLetter) {
      const std::string other = voiceFor(character.point);
      const std::string& voice = other.empty() ? file : other;
      if (voice != current) {
        add(current == file ? place : wordsEnd, current);
        add(place, file);
        current = voice;
      }
      wordsEnd = place + character.length;
    }
    place += character.length;
  }
  add(current == file ? text.size() : wordsEnd, current);
  add(text.size(), file);
  return found;
}

}  // namespace KQ::engines
