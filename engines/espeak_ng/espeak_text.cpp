#include "espeak_ng/espeak_text.hpp"

#include <espeak-ng/speak_lib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "espeak_ng/clause_limits.hpp"
#include "text/utf8.hpp"

namespace KQ::engines {

namespace {

using Kind = MarkupItem::Kind;

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t") == std::string_view::npos;
}

bool isWhiteSpace(std::string_view text) {
  return text.find_first_not_of(" \t\n") == std::string_view::npos;
}

struct Script {
  char32_t first;
  char32_t last;
  std::string_view languages;  ///< each between blanks
};

/// The alphabets that eSpeak NG knows, with the languages whose voices speak them. With any other voice
/// it loads the rules of a second language for them, and frees these rules while it uses them if it
/// meets a character that they do not know. So other voices get blanks in place of these characters,
/// and of characters in none of these ranges.
constexpr std::array<Script, 29> ownVoicesScripts{
    {{0x0370, 0x03FF, " el grc "},
     {0x0400, 0x052F, " ru uk be bg mk sr kk ky tt ba cv mn uz "},
     {0x0530, 0x058F, " hy hyw "},
     {0x0590, 0x05FF, " he "},
     {0x0600, 0x06FF, " ar fa ur sd ug ku "},
     {0x0700, 0x074F, ""},
     {0x0900, 0x097F, " hi mr ne kok "},
     {0x0980, 0x09FF, " bn as bpy "},
     {0x0A00, 0x0A7F, " pa "},
     {0x0A80, 0x0AFF, " gu "},
     {0x0B00, 0x0B7F, " or "},
     {0x0B80, 0x0BFF, " ta "},
     {0x0C00, 0x0C7F, " te "},
     {0x0C80, 0x0CFF, " kn "},
     {0x0D00, 0x0D7F, " ml "},
     {0x0D80, 0x0DFF, " si "},
     {0x0E00, 0x0E7F, " th "},
     {0x0E80, 0x0EFF, " lo "},
     {0x0F00, 0x0FFF, ""},
     {0x1000, 0x109F, " my shn "},
     {0x10A0, 0x10FF, " ka "},
     {0x1100, 0x11FF, " ko "},
     {0x1200, 0x139F, " am "},
     {0x1F00, 0x1FFF, " el grc "},
     {0x2800, 0x28FF, ""},
     {0x3040, 0x30FF, " ja "},
     {0x3100, 0x9FFF, " cmn yue hak ja ko "},
     {0xA700, 0xD7FF, " ko "},
     {0xFF00, 0xFFEF, " cmn yue hak ja ko "}}};

/// What is safe with every voice: Latin letters, marks, punctuation, signs and emoji.
constexpr std::array<std::pair<char32_t, char32_t>, 11> common{{{0x0000, 0x036F},
                                                                {0x1AB0, 0x1AFF},
                                                                {0x1DC0, 0x1EFF},
                                                                {0x2000, 0x27FF},
                                                                {0x2900, 0x2BFF},
                                                                {0x2C60, 0x2C7F},
                                                                {0x2E00, 0x2E5F},
                                                                {0x3000, 0x303F},
                                                                {0xA720, 0xA7FF},
                                                                {0xFE00, 0xFE6F},
                                                                {0x1F000, 0x1FAFF}}};

/// Whether every voice is safe with a character.
bool isCommon(char32_t point) {
  return std::any_of(common.begin(), common.end(), [point](const auto& range) {
    return point >= range.first && point <= range.second;
  });
}

/// \param language  between blanks
bool isSpoken(std::string_view character, const std::string& language) {
  const char32_t point = codePoint(character);
  return isCommon(point) ||
         std::any_of(ownVoicesScripts.begin(), ownVoicesScripts.end(), [&](const Script& script) {
           return point >= script.first && point <= script.last &&
                  script.languages.find(language) != std::string_view::npos;
         });
}

/// The bytes that eSpeak NG reads unchanged, in markup and in plain text.
constexpr std::array<bool, 256> plainBytes() {
  std::array<bool, 256> plain{};
  for (std::size_t byte = ' '; byte < 0x7F; ++byte) {
    plain[byte] = byte != '\\' && byte != '<' && byte != '>' && byte != '&';
  }
  plain['\n'] = plain['\t'] = true;
  return plain;
}

/// Returns how many plain bytes a text begins with.
std::size_t plainLength(std::string_view text) {
  static constexpr std::array<bool, 256> plain = plainBytes();
  const auto* const end = std::find_if_not(
      text.begin(), text.end(), [](char byte) { return plain[static_cast<unsigned char>(byte)]; });
  return static_cast<std::size_t>(end - text.begin());
}

/// Returns the character, or a blank if it must not be read. \param character  one byte if invalid
std::string_view toBeRead(std::string_view character, const std::string& language) {
  const auto byte = static_cast<unsigned char>(character.front());
  const bool isControl = (byte < ' ' && byte != '\n' && byte != '\t') || byte == 0x7F;
  const bool isRead = utf8Length(character) != 0 && !isControl && byte != '\\' &&
                      (character.size() == 1 || isSpoken(character, language));
  return isRead ? character : " ";
}

const char* entity(char byte) {
  switch (byte) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    default:
      return nullptr;
  }
}

/// Whether pieces of a kind are text or blanks to eSpeak NG, and need none of its markup.
bool isSpokenAsText(Kind kind) {
  return kind == Kind::text || kind == Kind::style || kind == Kind::last || kind == Kind::ignored;
}

constexpr std::string_view closingTag = "</prosody>";

/// Appends to an EspeakText and counts its characters.
class Appender {
 public:
  Appender(EspeakText& target, const std::string& language) : target(target), language(language) {
    target.runs.push_back({0, 0, 0});
  }

  /// Adds markup, which has no place in the source.
  void addMarkup(std::string_view markup) {
    target.text += markup;
    characters += markup.size();
    inRun = false;
  }

  /// Adds a text of the source.
  void addSource(std::string_view text, std::size_t offset) {
    for (std::size_t i = 0; i < text.size();) {
      if (const std::size_t plain = plainLength(text.substr(i))) {
        addPlain(text.substr(i, plain), offset + i);
        i += plain;
        continue;
      }
      const std::size_t length = std::max<std::size_t>(utf8Length(text.substr(i)), 1);
      addCharacter(text.substr(i, length), offset + i);
      i += length;
    }
  }

 private:
  void addPlain(std::string_view text, std::size_t offset) {
    if (!inRun) {
      startRun(offset);
    }
    target.text += text;
    target.isSilent = target.isSilent && isWhiteSpace(text);
    characters += text.size();
  }

  void addCharacter(std::string_view character, std::size_t offset) {
    const char* const escaped = target.isMarkup ? entity(character.front()) : nullptr;
    if (!inRun || escaped != nullptr) {
      startRun(offset);
    }
    if (escaped != nullptr) {
      addMarkup(escaped);
      target.isSilent = false;
      return;
    }
    const std::string_view read = toBeRead(character, language);
    target.text += read;
    target.isSilent = target.isSilent && isWhiteSpace(read);
    ++characters;
    inRun = read.size() == character.size();
  }

  void startRun(std::size_t offset) {
    const EspeakText::Run run{characters, target.text.size(), offset};
    if (target.runs.back().character == characters) {
      target.runs.back() = run;
    } else {
      target.runs.push_back(run);
    }
    inRun = true;
  }

  EspeakText& target;
  const std::string& language;
  std::size_t characters = 0;
  bool inRun = false;
};

}  // namespace

std::string languageOfVoice(const std::string& voiceFile) {
  const std::string name = voiceFile.substr(voiceFile.rfind('/') + 1);
  return name.substr(0, name.find_first_of("-+"));
}

void EspeakText::clear() {
  text.clear();
  isMarkup = false;
  isSilent = true;
  insertions.clear();
  runs.clear();
}

EspeakParameters::EspeakParameters(const SpeechSettings& settings, const Prosody& tags) {
  const double speed = std::clamp<double>(settings.speed, 46, 400);
  const double factor = std::clamp<double>(double{settings.pitch} * tags.pitch / 100, 0.5, 2);
  const double level = std::clamp<double>(double{settings.level} * tags.volume / 100, 0, 4);
  rate = static_cast<int>(std::lround(espeakRATE_NORMAL * speed / 100));
  // The number moves the base of the pitch, 50 steps an octave. The mean pitch of speech lies above the
  // base, so moving the mean by the factor takes more than the factor, and a change of the range.
  const double base = std::clamp<double>(1 + (factor - 1) / 0.8, 0.5, 2);
  pitch = static_cast<int>(std::lround(50 + 50 * std::log2(base)));
  range = static_cast<int>(std::lround(50 * factor));
  volume = static_cast<int>(std::lround(100 * level));
}

EspeakTextWriter::EspeakTextWriter(const SpokenText& sourceText,
                                   const SpeechSettings& speechSettings,
                                   const std::string& voiceFile)
    : source(sourceText),
      settings(speechSettings),
      language(' ' + languageOfVoice(voiceFile) + ' ') {}

void EspeakTextWriter::write(const TextChunk& chunk, EspeakText& written) {
  written.clear();
  written.isMarkup = needsMarkup(chunk);
  Appender appender(written, language);
  Prosody inText;
  std::size_t marked = 0;
  for (const MarkupItem& item : chunk) {
    const std::string_view piece = source.view(item.offset, item.length);
    switch (item.kind) {
      case Kind::text:
        if (isBlank(piece)) {
          appender.addMarkup(" ");
          break;
        }
        appender.addMarkup(tagsFrom(inText));
        inText = prosody;
        if (written.insertions.size() > marked) {
          marked = written.insertions.size();
          appender.addMarkup("<mark name=\"" + std::to_string(marked - 1) + "\"/>");
        }
        appender.addSource(piece, item.offset);
        break;
      case Kind::mark:
      case Kind::pause:
        written.insertions.push_back(item);
        break;
      case Kind::volume:
      case Kind::speed:
      case Kind::pitch:
      case Kind::reset:
        prosody.apply(item);
        break;
      case Kind::style:
      case Kind::last:
      case Kind::ignored:
        appender.addMarkup(" ");
        break;
    }
  }
  appender.addMarkup(inText.isNormal() ? "" : closingTag);
  limitClauses(written);
}

bool EspeakTextWriter::needsMarkup(const TextChunk& chunk) const {
  return !prosody.isNormal() || std::any_of(chunk.begin(), chunk.end(), [](const MarkupItem& item) {
    return !isSpokenAsText(item.kind);
  });
}

/// Returns the markup that changes the former prosody to the current one.
std::string EspeakTextWriter::tagsFrom(const Prosody& former) const {
  std::string tags;
  if (!(former == prosody)) {
    tags += former.isNormal() ? "" : closingTag;
    tags += prosody.isNormal() ? "" : openingTag();
  }
  return tags;
}

/// Returns a tag with only the values that differ from the settings: the time for reading markup delays
/// the first audio.
std::string EspeakTextWriter::openingTag() const {
  // The speed is relative to the engine's, the other values are absolute.
  const EspeakParameters absolute(settings, prosody);
  std::string tag = "<prosody";
  const auto add = [&](const char* name, int value, const char* unit) {
    tag.append(name).append("=\"").append(std::to_string(value)).append(unit).append("\"");
  };
  if (prosody.speed != 100) {
    add(" rate", prosody.speed, "%");
  }
  if (prosody.pitch != 100) {
    add(" pitch", absolute.pitch, "");
    add(" range", absolute.range, "");
  }
  if (prosody.volume != 100) {
    add(" volume", absolute.volume, "");
  }
  return tag + '>';
}

std::size_t SourcePositions::offsetOf(std::size_t character) {
  if (character < cursor.character) {
    cursor = text.runs.front();
    nextRun = 1;
  }
  for (; nextRun < text.runs.size() && text.runs[nextRun].character <= character; ++nextRun) {
    cursor = text.runs[nextRun];
  }
  const std::size_t end = nextRun < text.runs.size() ? text.runs[nextRun].byte : text.text.size();
  while (cursor.character < character && cursor.byte < end) {
    do {
      ++cursor.byte;
      ++cursor.source;
    } while (cursor.byte < end && isUtf8Continuation(text.text[cursor.byte]));
    ++cursor.character;
  }
  return cursor.source;
}

}  // namespace KQ::engines
