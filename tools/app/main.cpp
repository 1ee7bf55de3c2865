#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
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
    return complain(std::string(error.what()) + "; 'kqtts --help' tells the usage", wrongUsage);
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
