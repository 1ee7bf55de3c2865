#include <algorithm>
#include <array>
#include <boost/algorithm/string/case_conv.hpp>
#include <cctype>
#include <charconv>

#include "script_runs.hpp"
#include "segmenter.hpp"
#include "text_reader.hpp"
#include "utf8.hpp"

namespace KQ::speaking {

namespace {

/// Engines take what is longer for text.
constexpr std::size_t longestTag = 256;

/// What is handed on at a time, so that a long text costs no more for each byte than a short one.
constexpr std::size_t chunk = 4096;

struct Tag {
  std::string name;  ///< in small letters
  std::string value;
  std::size_t length = 0;  ///< with both backslashes; 0 if it is none
  bool isOpen = false;     ///< more text may close it
};

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isNameLetter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

/// Reads the tag that a text begins with, as engines do.
Tag readTag(std::string_view text) {
  const std::string_view inner = text.substr(1, longestTag);
  const std::size_t close = inner.find('\\');
  const std::string_view content = inner.substr(0, close);
  const auto space = std::find_if(content.begin(), content.end(), isSpace);
  const std::size_t equals = content.find('=');
  Tag tag;
  tag.name = boost::to_lower_copy(std::string(content.substr(0, equals)));
  if (close == std::string_view::npos) {
    tag.isOpen = inner.size() < longestTag && (space == content.end() || tag.name == "style");
    return tag;
  }
  const bool isName =
      !tag.name.empty() && std::all_of(tag.name.begin(), tag.name.end(), isNameLetter);
  if (isName && (space == content.end() || tag.name == "style")) {
    tag.length = close + 2;
    tag.value = equals == std::string_view::npos ? "" : content.substr(equals + 1);
  }
  return tag;
}

/// Settings that hold until they are changed, each with the last tag that set it.
constexpr std::array<const char*, 4> settingNames = {"vol", "rspd", "vct", "style"};

class PlainReader : public TextReader {
 public:
  explicit PlainReader(ReadingContext readingContext)
      : context(std::move(readingContext)),
        segmenter(*context.cutter, context.localeOf),
        runs(context.localeOf(""), context.canSpeak),
        baseSettings(settingTags(context.rate, context.pitch)) {
    segmenter.setSettings(baseSettings, baseSettings);
  }

  void add(std::string_view piece) override { input += piece; }

  void finish() override { isWhole = true; }

  std::optional<Segment> next() override {
    for (;;) {
      if (auto segment = segmenter.next()) {
        return segment;
      }
      if (!readSome()) {
        break;
      }
    }
    if (isWhole && !isFinished) {
      isFinished = true;
      segmenter.finish();
      return segmenter.next();
    }
    return std::nullopt;
  }

  void cutAtClause() override { segmenter.cutAtClause(); }

 private:
  /// Hands on what stands next in the text.
  /// \return false if there is nothing that is complete
  bool readSome() {
    const std::string_view rest = std::string_view(input).substr(position);
    if (rest.empty()) {
      input.clear();
      base += position;
      position = 0;
      return false;
    }
    if (rest.front() == '\\') {
      const Tag tag = readTag(rest);
      if (tag.isOpen && !isWhole) {
        return false;
      }
      if (tag.length > 0) {
        take(tag, rest.substr(0, tag.length));
        advance(tag.length);
        return true;
      }
    }
    return readText(rest);
  }

  bool readText(std::string_view rest) {
    std::string_view text = rest.substr(0, std::min(rest.find('\\', 1), chunk));
    const bool mayGoOn = text.size() == chunk || (text.size() == rest.size() && !isWhole);
    if (mayGoOn) {
      text.remove_suffix(incompleteAtEnd(text));
    }
    if (text.empty()) {
      return false;
    }
    if (context.detectsLanguages && language.empty()) {
      std::size_t offset = base + position;
      runs.split(text, [&](std::string_view stretch, const std::string& code) {
        segmenter.setVoice(code, "");
        segmenter.addText(stretch, offset);
        offset += stretch.size();
      });
    } else {
      segmenter.addText(text, base + position);
    }
    advance(text.size());
    return true;
  }

  void take(const Tag& tag, std::string_view raw) {
    if (tag.name == "lang") {
      language = tag.value;
      segmenter.setVoice(language, "");
    } else if (tag.name == "rst") {
      language.clear();
      segmenter.setVoice("", "");
      settings.fill("");
      segmenter.setSettings(baseSettings, "\\RST\\" + baseSettings);
    } else if (tag.name == "mrk" || tag.name == "mrkpause") {
      takeMark(tag);
    } else {
      takeSetting(tag, std::string(raw));
    }
  }

  void takeMark(const Tag& tag) {
    constexpr int pauseMarkBase = 65536;
    constexpr int longestPause = 32767;
    const std::string digits = tag.value.substr(0, tag.value.find_first_not_of("+ "));
    int number = 0;
    const char* const begin = tag.value.data() + digits.size();
    const auto parsed = std::from_chars(begin, tag.value.data() + tag.value.size(), number);
    if (parsed.ec != std::errc()) {
      return;
    }
    if (tag.name == "mrkpause") {
      number = pauseMarkBase - std::clamp(number, 1, longestPause);
    }
    segmenter.addMark(std::to_string(number), base + position, number);
  }

  void takeSetting(const Tag& tag, const std::string& raw) {
    const auto* const known = std::find(settingNames.begin(), settingNames.end(), tag.name);
    if (known == settingNames.end()) {
      segmenter.addTag(raw);
      return;
    }
    settings[static_cast<std::size_t>(known - settingNames.begin())] = raw;
    std::string all = baseSettings;
    for (const std::string& setting : settings) {
      all += setting;
    }
    segmenter.setSettings(all, raw);
  }

  void advance(std::size_t length) {
    position += length;
    if (position > chunk && position > input.size() / 2) {
      input.erase(0, position);
      base += position;
      position = 0;
    }
  }

  ReadingContext context;
  Segmenter segmenter;
  ScriptRuns runs;
  std::string baseSettings;  ///< those of the utterance
  std::string input;
  std::size_t position = 0;  ///< in `input`
  std::size_t base = 0;      ///< of `input` in the text
  std::string language;      ///< by a tag
  std::array<std::string, settingNames.size()> settings;
  bool isWhole = false;
  bool isFinished = false;
};

}  // namespace

std::unique_ptr<TextReader> makePlainReader(ReadingContext context) {
  return std::make_unique<PlainReader>(std::move(context));
}

}  // namespace KQ::speaking
