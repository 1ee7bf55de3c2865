#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <kqtts/texttospeech_manager.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/command.hpp"
#include "app/shared_options.hpp"
#include "say/host_session.hpp"
#include "system/failure.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

/// An array of objects that all have the same members, in the order in which they are shown.
using Table = nlohmann::ordered_json;

struct ListOptions {
  HostOptions host;
  VoiceChoice voice;
  std::string subject;
  bool json = false;
};

Table listEngines(HostSession& session, const ListOptions& /*options*/) {
  Table table = Table::array();
  for (const auto& [plugin, engine] : session.engines()) {
    table.push_back({{"plugin", plugin},
                     {"name", engine->getName()},
                     {"languages", engine->getAvailableLanguages().size()},
                     {"voices", engine->getAllAvailableVoices().size()}});
  }
  return table;
}

Table listLanguages(HostSession& session, const ListOptions& /*options*/) {
  const std::vector<std::string> outdated = session.manager().getOldLanguagesDetected();
  Table table = Table::array();
  for (const std::string& language : session.languages()) {
    const bool old = std::find(outdated.begin(), outdated.end(), language) != outdated.end();
    table.push_back({{"language", language},
                     {"locale", session.localeOf(language)},
                     {"engine", session.manager().xGetEngine(language)->getName()},
                     {"outdated", old}});
  }
  return table;
}

Table listVoices(HostSession& session, const ListOptions& options) {
  const std::string& asked = options.voice.language;
  const std::string wanted = asked.empty() ? "" : session.findLanguage(asked);
  Table table = Table::array();
  for (const auto& [voice, language] : session.manager().getAllAvailableVoices()) {
    if (!wanted.empty() && language != wanted) {
      continue;
    }
    const bool isDefault = session.manager().getDefaultVoiceForLanguage(language) == voice;
    table.push_back({{"voice", voice},
                     {"language", language},
                     {"locale", session.localeOf(language)},
                     {"default", isDefault}});
  }
  return table;
}

Table listParameters(HostSession& session, const ListOptions& options) {
  session.choose(options.voice);
  Table table = Table::array();
  for (const std::string& name : session.manager().getAvailableParameters()) {
    table.push_back({{"name", name}, {"value", session.manager().getParameter(name)}});
  }
  return table;
}

/// A member that is true is shown by its name; one that is false is not shown.
std::string cellText(const std::string& name, const Table& cell) {
  if (cell.is_boolean()) {
    return cell.get<bool>() ? name : "";
  }
  if (cell.is_string()) {
    return oneLine(cell.get<std::string>());
  }
  if (cell.is_number_float()) {
    return CLI::detail::to_string(cell.get<float>());
  }
  return cell.dump();
}

/// One line for each row, its cells below each other; no heading, so that every line is an answer.
std::string asText(const Table& table) {
  std::vector<std::size_t> widths;
  std::vector<std::vector<std::string>> lines;
  for (const auto& row : table) {
    std::vector<std::string> cells;
    for (const auto& [name, cell] : row.items()) {
      cells.push_back(cellText(name, cell));
    }
    widths.resize(cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
      widths[i] = std::max(widths[i], cells[i].size());
    }
    lines.push_back(std::move(cells));
  }
  std::string text;
  for (auto& cells : lines) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      cells[i].resize(widths[i] + 2, ' ');
      line += cells[i];
    }
    text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
  }
  return text;
}

/// What can be listed.
struct Subject {
  Table (*list)(HostSession&, const ListOptions&);
  bool takesLanguage;
  bool takesVoice;
};

const std::map<std::string, Subject> subjects = {
    {"engines", {listEngines, false, false}},
    {"languages", {listLanguages, false, false}},
    {"voices", {listVoices, true, false}},
    {"parameters", {listParameters, true, true}},
};

/// An option that changes nothing would mislead.
void refuseIgnoredOptions(const ListOptions& options, const Subject& subject) {
  const auto refuse = [&](const char* option, const std::string& given, bool isTaken) {
    if (!given.empty() && !isTaken) {
      throw UsageError("'kqtts list " + options.subject + "' takes no " + option,
                       "'kqtts list --help' shows the usage");
    }
  };
  refuse("--language", options.voice.language, subject.takesLanguage);
  refuse("--voice", options.voice.voice, subject.takesVoice);
}

int list(const ListOptions& options, const StandardOutput& output) {
  const Subject& subject = subjects.at(options.subject);
  refuseIgnoredOptions(options, subject);
  HostSession session(options.host);
  const Table table = subject.list(session, options);
  output.write(options.json ? table.dump(2, ' ', false, Table::error_handler_t::replace) + "\n"
                            : asText(table));
  return done;
}

CommandAction addListCommand(CLI::App& parser) {
  const auto options = std::make_shared<ListOptions>();
  parser.add_option("SUBJECT", options->subject, "engines, languages, voices or parameters")
      ->required()
      ->check(CLI::IsMember(&subjects));
  parser.add_flag("--json", options->json, "Write JSON");
  addVoiceOptions(parser, options->voice);
  addHostOptions(parser, options->host);
  return [options](StandardOutput& output) { return list(*options, output); };
}

const CommandRegistration listRegistration("list", {"List what is installed", addListCommand});

}  // namespace

}  // namespace tool
