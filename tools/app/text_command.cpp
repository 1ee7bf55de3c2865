#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <kqtts/tts_preference.hpp>
#include <map>
#include <memory>

#include "app/command.hpp"
#include "say/text_source.hpp"
#include "system/stop_request.hpp"

namespace tool {

namespace {

struct TextOptions {
  std::string work;
  std::string replacement = " ";
  std::string delimiters = " \t\n\r\v\f";
};

std::string strip(const std::string& text, const TextOptions& options) {
  return KQ::replaceTags(text, options.replacement.c_str()) + "\n";
}

std::string splitToLines(const std::string& text, const TextOptions& options) {
  std::string source = text;
  std::vector<std::string> tokens;
  KQ::tokenizeString(source, tokens, options.delimiters);
  std::string lines;
  for (const std::string& token : tokens) {
    lines += token + "\n";
  }
  return lines;
}

std::string markPauses(const std::string& text, const TextOptions& /*options*/) {
  std::string result = text;
  KQ::replaceMrkPause(result);
  return result;
}

using Work = std::string (*)(const std::string&, const TextOptions&);

const std::map<std::string, Work> works = {
    {"strip", strip},
    {"tokens", splitToLines},
    {"pauses", markPauses},
};

std::string readStandardInput() {
  const StopRequest never;
  DescriptorTextSource source(STDIN_FILENO, never);
  std::string text;
  while (source.read(text, StopRequest::forever) != TextSource::Result::end) {
  }
  return text;
}

CommandAction addTextCommand(CLI::App& parser) {
  const auto options = std::make_shared<TextOptions>();
  parser
      .add_option("WORK", options->work,
                  "strip: replace the known tags; tokens: one token a line; pauses: write pause "
                  "marks as engines take them")
      ->required()
      ->check(CLI::IsMember(&works));
  parser
      .add_option("--replacement", options->replacement,
                  "What strip puts in place of a tag (a blank)")
      ->option_text("TEXT");
  parser
      .add_option("--delimiters", options->delimiters,
                  "The bytes at which tokens splits the text (white space)")
      ->option_text("BYTES");
  return [options](StandardOutput& output) {
    output.write(works.at(options->work)(readStandardInput(), *options));
    return done;
  };
}

const CommandRegistration textRegistration("text", {"Work on the tags of a text on standard input",
                                                    addTextCommand});

}  // namespace

}  // namespace tool
