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
  const bool isText = utf8Length(character) != 0 && !isControl && byte != '\\';
  const bool reads = isText && (character.size() == 1 || isRead(codePoint(character), language));
  return reads ? character : " ";
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
  explicit Appender(EspeakText& target) : target(target) { target.runs.push_back({0, 0, 0}); }

  /// The language of the voice that reads what is added from here on.
  void setLanguage(std::string voiceLanguage) { language = std::move(voiceLanguage); }

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
  std::string language;
  std::size_t characters = 0;
  bool inRun = false;
};

}  // namespace

void EspeakText::clear() {
  text.clear();
  isMarkup = false;
  changesVoice = false;
  isSilent = true;
  insertions.clear();
  runs.clear();
}

EspeakParameters::EspeakParameters(const SpeechSettings& settings, const Prosody& tags) {
  const double speed = std::clamp<double>(settings.speed, 46, 400);
  const double factor = std::clamp<double>(double{settings.pitch} * tags.pitch / 100, 0.5, 2);
  const double level = std::clamp<double>(double{settings.level} * tags.volume / 100, 0, 4);
  rate = static_cast<int>(std::lround(espeakRATE_NORMAL * speed / 100));
  // The number moves the base of the pitch, 50 steps an octave. The mean pitch of speech lies above
  // the base, so moving the mean by the factor takes more than the factor, and a change of the
  // range.
  const double base = std::clamp<double>(1 + (factor - 1) / 0.8, 0.5, 2);
  pitch = static_cast<int>(std::lround(50 + 50 * std::log2(base)));
  range = static_cast<int>(std::lround(50 * factor));
  volume = static_cast<int>(std::lround(100 * level));
}

EspeakTextWriter::EspeakTextWriter(const SpokenText& sourceText,
                                   const SpeechSettings& speechSettings,
                                   const std::string& voiceFile, ScriptVoices::Finder otherVoices)
    : source(sourceText),
      settings(speechSettings),
      language(languageOfVoice(voiceFile)),
      voices(voiceFile, std::move(otherVoices)) {}

void EspeakTextWriter::write(const TextChunk& chunk, EspeakText& written) {
  written.clear();
  written.changesVoice = std::any_of(chunk.begin(), chunk.end(), [&](const MarkupItem& item) {
    return item.kind == Kind::text && voices.needsOthers(source.view(item.offset, item.length));
  });
  written.isMarkup = written.changesVoice || needsMarkup(chunk);
  Appender appender(written);
  appender.setLanguage(language);
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
        if (written.changesVoice) {
          addInVoices(appender, piece, item.offset);
        } else {
          appender.addSource(piece, item.offset);
        }
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

/// Each run names its voice: at the end of a tag eSpeak NG goes back to the first voice of the
/// language, which may be another one than it began with.
template <typename Appender>
void EspeakTextWriter::addInVoices(Appender& appender, std::string_view piece,
                                   std::size_t offset) const {
  for (const VoiceRun& run : voices.runs(piece)) {
    appender.addMarkup("<voice name=\"" + run.voiceFile + "\">");
    appender.setLanguage(languageOfVoice(run.voiceFile));
    appender.addSource(piece.substr(run.begin, run.end - run.begin), offset + run.begin);
    appender.addMarkup("</voice>");
  }
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

/// Returns a tag with only the values that differ from the settings: the time for reading markup
/// delays the first audio.
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
