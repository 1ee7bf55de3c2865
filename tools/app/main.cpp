#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <kq/error.hpp>
#include <map>
#include <memory>
#include <sstream>
#include <zu/log.hpp>

#include "app/command.hpp"
#include "system/failure.hpp"
#include "text/log_level.hpp"
#include "text/name_distance.hpp"
#include "text/utf8.hpp"

namespace tool {

namespace {

int complain(const std::string& what, ExitStatus status) {
  std::cerr << "kqtts: " << oneLine(what) << '\n';
  return status;
}

/// The program reports failures itself, in one line, so the log shows errors only.
void setLogLevel(const std::string& asked) {
  if (const auto level = logLevelOf(asked)) {
    zu::log::setLevel(*level);
  } else if (std::getenv("ZU_LOG_LEVEL") == nullptr) {
    zu::log::setLevel(zu::log::Level::error);
  }
}

/// Makes a write to a closed pipe, or beyond the limit of a file's size, an error. Without it the
/// program would end.
void ignoreWriteSignals() {
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    std::signal(signal, SIG_IGN);
  }
}

class Program {
 public:
  Program() : app("Speaks texts with the installed speech engines.", "kqtts") {
    app.require_subcommand(1);
    app.set_version_flag("--version", "kqtts " KQTTS_VERSION);
    addLogOption(app);
    for (const auto& [name, command] : CommandRegistration::commands()) {
      CLI::App* parser = app.add_subcommand(name, command.description);
      addLogOption(*parser);
      actions[parser] = command.setup(*parser);
    }
  }

  int run(int argc, char** argv, StandardOutput& output) {
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return answerParseError(error, output);
    }
    setLogLevel(logLevel);
    return actions.at(app.get_subcommands().front())(output);
  }

 private:
  void addLogOption(CLI::App& parser) {
    parser
        .add_option("--log-level", logLevel,
                    "Log records of this level and graver ones to standard error (error)")
        ->option_text("{" + boost::algorithm::join(logLevelNames(), ",") + "}")
        ->check(CLI::IsMember(&logLevelNames()));
  }

  int answerParseError(const CLI::ParseError& error, const StandardOutput& output) {
    std::ostringstream answer;
    std::ostringstream complaint;
    if (app.exit(error, answer, complaint) == 0) {
      output.write(answer.str());
      return done;
    }
    return complain(explain(error), wrongUsage);
  }

  std::string explain(const CLI::ParseError& error) const {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const CLI::App& parser = chosen.empty() ? app : *chosen.front();
    const std::string help =
        "'kqtts " + (chosen.empty() ? "" : parser.get_name() + " ") + "--help' shows the usage";
    const std::string word = unexpectedWord(parser);
    const bool isAboutWord = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
    // The parser misses a command before it sees that a word is none.
    if (word.empty() || (!isAboutWord && !chosen.empty())) {
      return std::string(error.what()) + "; " + help;
    }
    if (chosen.empty() && word.front() != '-') {
      return "there is no command '" + word + "'" + suggestion(word, commandNames()) + "; " + help;
    }
    if (word.front() != '-') {
      return "'" + word + "' is one argument too many; " + help;
    }
    const std::string name = word.substr(0, word.find('='));
    return "there is no option '" + name + "'" + suggestion(name, optionNames(parser)) + "; " +
           help +
           (parser.get_name() == "say" ? "; put '--' before a text that begins with a hyphen" : "");
  }

  /// The first word that the parser could not use: an option, if there is one. "" if there is none.
  static std::string unexpectedWord(const CLI::App& parser) {
    const std::vector<std::string> words = parser.remaining(true);
    const auto option = std::find_if(words.begin(), words.end(), [](const std::string& word) {
      return word.size() > 1 && word.front() == '-';
    });
    return option != words.end() ? *option : words.empty() ? "" : words.front();
  }

  static std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const auto& command : CommandRegistration::commands()) {
      names.push_back(command.first);
    }
    return names;
  }

  static std::vector<std::string> optionNames(const CLI::App& parser) {
    std::vector<std::string> names;
    for (const CLI::Option* option : parser.get_options()) {
      for (const std::string& name : option->get_lnames()) {
        names.push_back("--" + name);
      }
    }
    return names;
  }

  CLI::App app;
  std::string logLevel;
  std::map<CLI::App*, CommandAction> actions;
};

int run(int argc, char** argv) {
  try {
    StandardOutput output;
    return Program().run(argc, argv, output);
  } catch (const UsageError& error) {
    return complain(error.what(), wrongUsage);
  } catch (const KQError& error) {
    return complain(error.getDescription() + "; --log-level debug tells more", failed);
  } catch (const std::exception& error) {
    return complain(error.what(), failed);
  } catch (...) {
    return complain("an engine failed in an unknown way; --log-level debug tells more", failed);
  }
}

}  // namespace

}  // namespace tool

int main(int argc, char** argv) {
  tool::ignoreWriteSignals();
  return tool::run(argc, argv);
}
