#include <expat.h>

#include <algorithm>
#include <cmath>
#include <kq/error.hpp>
#include <map>
#include <vector>
#include <zu/log.hpp>

#include "say_as.hpp"
#include "script_runs.hpp"
#include "segmenter.hpp"
#include "ssml_values.hpp"
#include "text_reader.hpp"

namespace KQ::speaking {

namespace {

/// Deeper elements end the reading: nobody writes them.
constexpr std::size_t deepest = 256;

/// The pause between paragraphs, in milliseconds.
constexpr int paragraphPause = 400;

using Attributes = std::map<std::string, std::string>;

std::string pauseTag(int milliseconds) {
  return "\\Pau=" + std::to_string(milliseconds) + "\\";
}

/// What holds within an element.
struct Scope {
  std::string name;
  float rate = 1;
  float pitch = 1;
  float volume = 1;
  std::string language;
  std::string voice;
  bool isSkipped = false;  ///< its text is not spoken
};

/// An element whose text is replaced as a whole, and what came of it so far.
struct Replaced {
  std::size_t depth;  ///< of the element
  Attributes attributes;
  bool isSub = false;
  std::string text;
  std::size_t textOffset;
};

class SsmlReader : public TextReader {
 public:
  explicit SsmlReader(ReadingContext readingContext)
      : context(std::move(readingContext)),
        segmenter(*context.cutter, context.localeOf),
        runs(context.localeOf(""), context.canSpeak),
        parser(XML_ParserCreate("UTF-8")) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    XML_SetEntityDeclHandler(parser, onEntity);
    Scope outside;
    outside.rate = context.rate;
    outside.pitch = context.pitch;
    scopes.push_back(outside);
    applySettings();
  }

  ~SsmlReader() override { XML_ParserFree(parser); }
  SsmlReader(const SsmlReader&) = delete;
  SsmlReader& operator=(const SsmlReader&) = delete;

  void add(std::string_view piece) override {
    constexpr std::size_t most = 1U << 20U;  // expat counts by int
    while (!piece.empty() && error.empty()) {
      const std::string_view part = piece.substr(0, most);
      parse(part, false);
      piece.remove_prefix(part.size());
    }
  }

  void finish() override {
    if (error.empty()) {
      parse("", true);
    }
    segmenter.finish();
  }

  std::optional<Segment> next() override {
    auto segment = segmenter.next();
    if (!segment && !error.empty()) {
      throw KQError("Speaker", "speak", "The SSML cannot be read: " + error, nullptr, 0);
    }
    return segment;
  }

  void cutAtClause() override { segmenter.cutAtClause(); }

 private:
  static SsmlReader& self(void* user) { return *static_cast<SsmlReader*>(user); }

  static void onStart(void* user, const XML_Char* name, const XML_Char** attributes) {
    Attributes read;
    for (; *attributes != nullptr; attributes += 2) {
      read[attributes[0]] = attributes[1];
    }
    self(user).begin(name, read);
  }
  static void onEnd(void* user, const XML_Char* name) { self(user).end(name); }
  static void onText(void* user, const XML_Char* text, int length) {
    self(user).take(std::string_view(text, static_cast<std::size_t>(length)));
  }
  /// Entities may stand for any amount of text; nobody needs them in what is to be spoken.
  static void onEntity(void* user, const XML_Char* /*name*/, int /*isParameter*/,
                       const XML_Char* /*value*/, int /*length*/, const XML_Char* /*base*/,
                       const XML_Char* /*system*/, const XML_Char* /*id*/,
                       const XML_Char* /*notation*/) {
    self(user).refuse("it declares an entity.");
  }

  void parse(std::string_view part, bool isLast) {
    if (XML_Parse(parser, part.data(), static_cast<int>(part.size()), isLast ? 1 : 0) ==
            XML_STATUS_ERROR &&
        error.empty()) {
      error = std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " at byte " +
              std::to_string(XML_GetCurrentByteIndex(parser)) + ".";
    }
  }

  void refuse(const std::string& reason) {
    error = reason;
    XML_StopParser(parser, XML_FALSE);
  }

  std::size_t offset() const { return static_cast<std::size_t>(XML_GetCurrentByteIndex(parser)); }
  std::size_t length() const { return static_cast<std::size_t>(XML_GetCurrentByteCount(parser)); }

  void begin(std::string name, const Attributes& attributes) {
    if (scopes.size() > deepest) {
      refuse("its elements are nested too deeply.");
      return;
    }
    name = name.substr(name.rfind(':') + 1);
    Scope scope = scopes.back();
    scope.name = name;
    const std::string language = valueOf(attributes, "xml:lang");
    scope.language = language.empty() ? scope.language : language;
    scope.voice = language.empty() ? scope.voice : "";
    scopes.push_back(scope);
    if (!applyStyle(name, attributes) && !applyStructure(name, attributes)) {
      warnOnce(name);
    }
    applyVoice();
    applySettings();
  }

  static std::string valueOf(const Attributes& attributes, const std::string& name) {
    const auto found = attributes.find(name);
    return found == attributes.end() ? "" : found->second;
  }

  /// Elements that change how their text sounds.
  bool applyStyle(const std::string& name, const Attributes& attributes) {
    Scope& scope = scopes.back();
    if (name == "prosody") {
      scope.rate *= rateFactor(valueOf(attributes, "rate")).value_or(1);
      scope.pitch *= pitchFactor(valueOf(attributes, "pitch")).value_or(1);
      scope.volume *= volumeFactor(valueOf(attributes, "volume")).value_or(1);
    } else if (name == "emphasis") {
      const Emphasis emphasis = emphasisOf(valueOf(attributes, "level"));
      scope.rate *= emphasis.rate;
      scope.pitch *= emphasis.pitch;
      scope.volume *= emphasis.volume;
    } else if (name == "voice") {
      const std::string languages = valueOf(attributes, "languages");
      scope.voice = valueOf(attributes, "name");
      if (!languages.empty()) {
        scope.language = languages.substr(0, languages.find_first_of(" :"));
      }
    } else {
      return name == "lang" || name == "speak" || name == "token" || name == "w" ||
             name == "phoneme" || name == "audio";
    }
    return true;
  }

  /// Elements that stand for something at a place of the text.
  bool applyStructure(const std::string& name, const Attributes& attributes) {
    if (name == "p" || name == "s" || name == "paragraph" || name == "sentence") {
      segmenter.endSentence();
    } else if (name == "break") {
      const auto time = millisecondsOf(valueOf(attributes, "time"));
      const auto pause = time ? time : pauseOf(valueOf(attributes, "strength"));
      const int usual = *pauseOf("medium");
      if (pause.value_or(usual) > 0) {
        segmenter.addTag(pauseTag(pause.value_or(usual)));
      }
    } else if (name == "mark") {
      segmenter.addMark(valueOf(attributes, "name"), offset());
    } else if (name == "say-as" || name == "sub") {
      if (!replaced) {
        replaced = Replaced{scopes.size(), attributes, name == "sub", "", offset() + length()};
      }
    } else if (name == "desc" || name == "meta" || name == "metadata" || name == "lexicon" ||
               name == "lookup") {
      scopes.back().isSkipped = name != "lookup";
    } else {
      return false;
    }
    return true;
  }

  void warnOnce(const std::string& name) {
    if (hasWarned) {
      return;
    }
    hasWarned = true;
    zu::log::write(zu::log::Level::warning, "kqtts.speaker",
                   "SSML has no element " + name + "; its text is spoken.", __FILE__, __func__,
                   __LINE__);
  }

  void end(const std::string& /*name*/) {
    const std::string name = scopes.back().name;
    if (replaced && replaced->depth == scopes.size()) {
      finishReplaced();
    }
    scopes.pop_back();
    if (name == "p" || name == "paragraph") {
      segmenter.addTag(pauseTag(paragraphPause));
      segmenter.endSentence();
    } else if (name == "s" || name == "sentence") {
      segmenter.endSentence();
    }
    applyVoice();
    applySettings();
  }

  void finishReplaced() {
    const std::string locale = context.localeOf(scopes.back().language);
    const std::string spoken =
        replaced->isSub ? valueOf(replaced->attributes, "alias")
                        : spokenAs(valueOf(replaced->attributes, "interpret-as"),
                                   valueOf(replaced->attributes, "format"), replaced->text, locale);
    segmenter.addReplacement(withoutTags(spoken), replaced->textOffset,
                             offset() - replaced->textOffset);
    replaced.reset();
  }

  /// As engines may see it: white space is blanks, and a backslash begins no tag.
  static std::string withoutTags(std::string_view text) {
    std::string plain(text);
    std::replace_if(
        plain.begin(), plain.end(),
        [](char c) { return c == '\n' || c == '\t' || c == '\r' || c == '\\'; }, ' ');
    return plain;
  }

  void take(std::string_view text) {
    const std::string plain = withoutTags(text);
    const bool isSkipped = std::any_of(scopes.begin(), scopes.end(),
                                       [](const Scope& scope) { return scope.isSkipped; });
    if (replaced) {
      replaced->text += plain;
    } else if (!isSkipped && text.size() != length()) {
      segmenter.addReplacement(plain, offset(), length());
    } else if (!isSkipped && context.detectsLanguages) {
      takeRuns(plain);
    } else if (!isSkipped) {
      segmenter.addText(plain, offset());
    }
  }

  void takeRuns(const std::string& text) {
    const Scope& scope = scopes.back();
    std::size_t at = offset();
    runs.split(text, [&](std::string_view stretch, const std::string& code) {
      if (code.empty()) {
        segmenter.setVoice(scope.language, scope.voice);
      } else {
        segmenter.setVoice(code, "");
      }
      segmenter.addText(stretch, at);
      at += stretch.size();
    });
  }

  void applyVoice() {
    const Scope& scope = scopes.back();
    if (scope.language != runsLanguage) {
      runsLanguage = scope.language;
      runs = ScriptRuns(context.localeOf(scope.language), context.canSpeak);
    }
    segmenter.setVoice(scope.language, scope.voice);
  }

  void applySettings() {
    const Scope& scope = scopes.back();
    const std::string tags = settingTags(scope.rate, scope.pitch, scope.volume);
    segmenter.setSettings(tags, "\\RST\\" + tags);
  }

  ReadingContext context;
  Segmenter segmenter;
  ScriptRuns runs;
  std::string runsLanguage;
  XML_Parser parser;
  std::vector<Scope> scopes;
  std::optional<Replaced> replaced;
  std::string error;
  bool hasWarned = false;
};

}  // namespace

std::unique_ptr<TextReader> makeSsmlReader(ReadingContext context) {
  return std::make_unique<SsmlReader>(std::move(context));
}

}  // namespace KQ::speaking
