#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <kqtts/plugin_names.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/command.hpp"
#include "app/shared_options.hpp"
#include "doctor/findings.hpp"
#include "probe/installation.hpp"
#include "text/paragraph.hpp"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;

struct DoctorOptions {
  HostOptions host;
  Patience patience;
  bool json = false;
};

// As JSON -----------------------------------------------------------------------------------------

Json asJson(const Finding& finding) {
  return {{"severity", nameOf(finding.severity)},
          {"section", finding.section},
          {"cause", finding.cause},
          {"text", finding.text},
          {"whatToDo", finding.whatToDo},
          {"details", finding.details}};
}

Json asJson(const PluginReport& plugin) {
  Json log = Json::array();
  for (const LogLine& line : plugin.probe.log) {
    log.push_back({{"step", line.step},
                   {"level", line.level},
                   {"category", line.category},
                   {"message", line.message}});
  }
  return {{"plugin", plugin.name},
          {"library", plugin.search.library},
          {"running", plugin.started},
          {"engine", plugin.engine.name},
          {"languages", plugin.engine.languages},
          {"voices", plugin.engine.voices},
          {"outdatedLanguages", plugin.engine.outdated},
          {"log", log}};
}

Json asJson(const SurveyedPackage& package, const Installation& installation) {
  Json takers = Json::array();
  bool outdated = false;
  for (const PluginReport& plugin : installation.plugins) {
    for (const Claim& claim : plugin.claims) {
      if (claim.package != package.path) {
        continue;
      }
      takers.push_back(plugin.name);
      outdated |= claim.outdated;
    }
  }
  return {{"folder", package.path},   {"uuid", package.uuid},         {"version", package.version},
          {"engine", package.engine}, {"language", package.language}, {"takenBy", takers},
          {"outdated", outdated}};
}

Json languagesAsJson(const SessionReport& session) {
  Json languages = Json::array();
  for (const TrialResult& trial : session.trials) {
    const EngineFacts* engine = session.facts.engineOf(trial.language);
    languages.push_back({{"language", trial.language},
                         {"plugin", engine == nullptr ? "" : engine->plugin},
                         {"outdated", session.facts.isOutdated(trial.language)},
                         {"sound", trial.sound},
                         {"error", trial.error}});
  }
  return languages;
}

Json foldersAsJson(const std::vector<std::string>& paths) {
  Json folders = Json::array();
  for (const std::string& path : paths) {
    boost::system::error_code ignored;
    folders.push_back(
        {{"folder", path}, {"exists", boost::filesystem::is_directory(path, ignored)}});
  }
  return folders;
}

std::vector<std::string> packageFolders(const Installation& installation) {
  std::vector<std::string> paths;
  for (const PackageFolder& folder : installation.packages.folders) {
    paths.push_back(folder.path);
  }
  return paths;
}

std::vector<std::string> libraryNames() {
  std::vector<std::string> names;
  for (const char* plugin : KQ::plugin_names::all) {
    for (const std::string& name : KQ::plugin_names::librariesOf(plugin)) {
      names.push_back(name + ".so");
    }
  }
  return names;
}

Json asJson(const Installation& installation, const std::vector<Finding>& findings) {
  Json report = {{"speech", installation.canSpeak()},
                 {"findings", Json::array()},
                 {"libraryNames", libraryNames()},
                 {"libraryFolders", foldersAsJson(installation.libraryFolders)},
                 {"plugins", Json::array()},
                 {"packageFolders", foldersAsJson(packageFolders(installation))},
                 {"packages", Json::array()},
                 {"languages", Json::array()},
                 {"audioDevice", installation.audioDevice},
                 {"environment", Json::object()}};
  for (const Finding& finding : findings) {
    report["findings"].push_back(asJson(finding));
  }
  for (const PluginReport& plugin : installation.plugins) {
    report["plugins"].push_back(asJson(plugin));
  }
  for (const SurveyedPackage& package : installation.packages.packages()) {
    report["packages"].push_back(asJson(package, installation));
  }
  if (installation.session) {
    report["languages"] = languagesAsJson(*installation.session);
  }
  for (const auto& [name, value] : installation.environment) {
    report["environment"][name] = value ? Json(*value) : Json();
  }
  return report;
}

// As a page ---------------------------------------------------------------------------------------

std::string folderLines(const std::vector<std::string>& paths) {
  std::string text;
  for (const std::string& path : paths) {
    boost::system::error_code ignored;
    const bool exists = boost::filesystem::is_directory(path, ignored);
    text += "    " + path + (exists ? "" : " (does not exist)") + "\n";
  }
  return text;
}

std::string heading(const std::string& section, const Installation& installation) {
  if (section == "plug-ins") {
    return "Plug-ins aitalk, log and nuance, looked for as kqtts/libkqtts-NAME.so, then as "
           "kqtts/kqtts-NAME.so, in\n" +
           folderLines(installation.libraryFolders);
  }
  if (section == "packages") {
    return "Packages, looked for in\n" + folderLines(packageFolders(installation));
  }
  if (section == "languages") {
    return "Languages, tried in a host with all engines\n";
  }
  if (section == "audio") {
    return "Audio device\n";
  }
  std::string text = "Environment\n";
  for (const auto& [name, value] : installation.environment) {
    text += "    " + name + (value ? "=" + *value : " is not set") + "\n";
  }
  return text;
}

std::string asText(const Finding& finding) {
  std::string label = nameOf(finding.severity);
  label.resize(9, ' ');
  std::string text = paragraph("  " + label, finding.text);
  for (const std::string& line : finding.details) {
    text += paragraph("           said: ", line);
  }
  if (!finding.whatToDo.empty()) {
    text += paragraph("        -> ", finding.whatToDo);
  }
  return text;
}

std::string verdict(const Installation& installation) {
  if (!installation.canSpeak()) {
    return "No speech is possible. What is marked as a problem keeps it from being so.\n";
  }
  const auto& trials = installation.session->trials;
  const auto spoken = std::count_if(trials.begin(), trials.end(),
                                    [](const TrialResult& trial) { return trial.sound; });
  return "Speech is possible, in " + std::to_string(spoken) +
         (spoken == 1 ? " language.\n" : " languages.\n");
}

std::string asPage(const Installation& installation, const std::vector<Finding>& findings) {
  std::string page = verdict(installation);
  for (const char* section : {"plug-ins", "packages", "languages", "audio", "environment"}) {
    page += "\n" + heading(section, installation);
    for (const Finding& finding : findings) {
      if (finding.section == section) {
        page += asText(finding);
      }
    }
  }
  return page;
}

int diagnose(const DoctorOptions& options, const StandardOutput& output) {
  const Installation installation =
      examineInstallation(options.host, options.patience.milliseconds());
  const std::vector<Finding> findings = explainInstallation(installation);
  output.write(
      options.json
          ? asJson(installation, findings).dump(2, ' ', false, Json::error_handler_t::replace) +
                "\n"
          : asPage(installation, findings));
  return installation.canSpeak() ? done : failed;
}

CommandAction addDoctorCommand(CLI::App& parser) {
  const auto options = std::make_shared<DoctorOptions>();
  parser.add_flag("--json", options->json, "Write JSON");
  addPatienceOption(parser, options->patience);
  addHostOptions(parser, options->host);
  return [options](StandardOutput& output) { return diagnose(*options, output); };
}

const CommandRegistration doctorRegistration("doctor",
                                             {"Find out why there is no speech", addDoctorCommand});

}  // namespace

}  // namespace tool
