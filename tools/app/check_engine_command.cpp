#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <boost/make_shared.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <memory>
#include <zu/path.hpp>

#include "app/command.hpp"
#include "app/shared_options.hpp"
#include "check_engine/checkup.hpp"
#include "check_engine/report.hpp"
#include "probe/plugin_library.hpp"
#include "say/host_session.hpp"
#include "say/package_discovery.hpp"
#include "system/failure.hpp"
#include "system/replaced_file.hpp"

namespace tool {

namespace {

struct CheckOptions {
  HostOptions host;
  std::string plugin;
  std::vector<std::string> checks;
  double timeout = 30;
  std::string junit;
  bool json = false;
  bool list = false;
};

std::vector<zu::PackageInfo> packagesFor(const HostOptions& options) {
  // This manager only reads the manifests; without initialize() it loads nothing.
  const KQ::TextToSpeechManager reader(nullptr, boost::make_shared<KQ::TTSLanguageInfo>());
  return findPackages(packageFoldersOf(options), reader);
}

void writeFile(const std::string& path, const std::string& text) {
  ReplacedFile file(path, "name a file that can be written");
  if (writeAll(file.descriptor(), text.data(), text.size()) != 0) {
    throw Failure("cannot write " + path, "name another file");
  }
  file.commit();
}

int listChecks(const StandardOutput& output) {
  std::string text;
  for (const Check& check : allChecks()) {
    text += std::string(check.name) + ": " + check.title + '\n';
  }
  output.write(text);
  return done;
}

int check(const CheckOptions& options, const StandardOutput& output) {
  if (options.list) {
    return listChecks(output);
  }
  if (options.plugin.empty()) {
    throw UsageError("no engine plug-in is named", "name its file, or its plug-in name");
  }
  useEngineFolders(options.host);
  const Candidate candidate = {
      findPlugin(options.plugin), packagesFor(options.host),
      std::chrono::milliseconds(static_cast<std::int64_t>(options.timeout * 1000))};
  const Checkup checkup = checkEngine(candidate, options.checks);
  if (!options.junit.empty()) {
    writeFile(options.junit, junitReport(checkup));
  }
  output.write(options.json ? jsonReport(checkup) : textReport(checkup));
  return checkup.count(CheckOutcome::Status::passed) == checkup.outcomes.size() ? done : failed;
}

CommandAction addCheckEngineCommand(CLI::App& parser) {
  const auto options = std::make_shared<CheckOptions>();
  parser.add_option("PLUGIN", options->plugin,
                    "The plug-in's file (with a slash, or ending in .so), or its name");
  parser
      .add_option("--check", options->checks, "Run only this check, and those it needs; repeatable")
      ->option_text("NAME")
      ->allow_extra_args(false);
  parser.add_flag("--list", options->list, "List the checks");
  parser
      .add_option("--timeout", options->timeout,
                  "The longest time for one check (30); a stop may take a third of it, at most 5")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.1, 86400.0));
  parser.add_flag("--json", options->json, "Write JSON");
  parser.add_option("--junit", options->junit, "Also write a report for build servers")
      ->option_text("FILE");
  addHostOptions(parser, options->host);
  return [options](StandardOutput& output) { return check(*options, output); };
}

const CommandRegistration checkEngineRegistration(
    "check-engine", {"Test whether an engine plug-in keeps the contract", addCheckEngineCommand});

}  // namespace

}  // namespace tool
