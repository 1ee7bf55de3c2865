#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <kqtts/tts_language_info.hpp>
#include <map>
#include <utility>

#include "doctor/finding_list.hpp"
#include "probe/installation.hpp"
#include "text/language_argument.hpp"
#include "text/language_package.hpp"

namespace tool {

namespace {

using boost::algorithm::join;

/// Explains what a host with all engines can speak.
class LanguageFindings {
 public:
  LanguageFindings(const Installation& examined, FindingList& findings)
      : installation(examined), list(findings) {}

  void explain() {
    if (!installation.session) {
      list.add(Severity::note, "session-not-tried",
               installation.hasStartedPlugin() ? "no host is started: a plug-in would take it along"
                                               : "no engine is running, so no language is served",
               "see the plug-ins above");
      return;
    }
    const SessionReport& session = *installation.session;
    explainSession(session);
    if (!session.running) {
      return;
    }
    explainTrials(session);
    explainTies(session.facts);
    explainDoubles(session.facts);
    if (!session.facts.language.empty()) {
      list.add(Severity::ok, "language-chosen",
               session.facts.language + " is spoken unless another language is asked for" +
                   missingLanguage(session.facts),
               "");
    }
  }

 private:
  /// Which package would bring the language of the user's locale, if it is not installed.
  static std::string missingLanguage(const SessionFacts& facts) {
    KQ::TTSLanguageInfo table;
    const std::string wanted = LanguageResolver(table, facts.languages).resolve(userLocale());
    const std::string source = whatBrings(wanted);
    return facts.offers(wanted) || source.empty() ? ""
                                                  : "; " + wanted + " is not installed: " + source;
  }

  void explainSession(const SessionReport& session) {
    if (!session.probe.isComplete()) {
      const Mishap mishap = mishapOf(session.probe);
      const std::string& step = session.probe.step;
      const std::string when = step == "try"     ? "while " + session.trying + " was tried"
                               : step == "close" ? "when it was shut down"
                                                 : "while it started";
      list.add(list.bad(), "session-" + mishap.cause,
               "a host with all engines " + mishap.text + ", " + when,
               "remove one plug-in after the other to see which one it is", mishap.details);
    } else if (session.facts.languages.empty()) {
      list.add(list.bad(), "languages-none", "no language is installed", "see the packages above");
    }
  }

  void explainTrials(const SessionReport& session) {
    std::map<std::string, std::vector<std::string>> spoken;
    for (const TrialResult& trial : session.trials) {
      const EngineFacts* engine = session.facts.engineOf(trial.language);
      const std::string plugin = engine == nullptr ? "" : engine->plugin;
      if (session.facts.isOutdated(trial.language)) {
        list.add(list.bad(), "language-outdated",
                 trial.language + " is refused: its package is outdated",
                 "install a newer version of the package");
      } else if (!trial.error.empty()) {
        list.add(list.bad(), "language-refused", trial.language + " cannot be spoken by " + plugin,
                 "mend what the engine complains of", {trial.error});
      } else if (!trial.sound) {
        list.add(list.bad(), "language-silent",
                 plugin + " accepts " + trial.language + ", but gives no sound",
                 "let another engine serve the language, or install its package again");
      } else {
        spoken[plugin].push_back(trial.language);
      }
    }
    for (const auto& [plugin, languages] : spoken) {
      list.add(Severity::ok, "languages-spoken", plugin + " speaks " + join(languages, ", "), "");
    }
  }

  void explainTies(const SessionFacts& facts) {
    std::map<std::pair<std::string, std::string>, std::vector<std::string>> ties;
    for (const std::string& language : facts.languages) {
      const auto route = facts.routes.find(language);
      if (route == facts.routes.end()) {
        continue;
      }
      for (const EngineFacts& engine : facts.engines) {
        if (engine.plugin != route->second && engine.offers(language)) {
          ties[{engine.plugin, route->second}].push_back(language);
        }
      }
    }
    for (const auto& [plugins, languages] : ties) {
      list.add(Severity::note, "language-tied",
               plugins.first + " offers " + join(languages, ", ") + " too, but " + plugins.second +
                   " has it: its name comes later",
               "remove the engine's package if the other one is wanted");
    }
  }

  void explainDoubles(const SessionFacts& facts) {
    std::map<std::string, std::vector<std::string>> pathsByLanguage;
    for (const SurveyedPackage& package : installation.packages.packages()) {
      if (package.isInstalled && facts.offers(package.language)) {
        pathsByLanguage[package.language].push_back(package.path);
      }
    }
    for (const auto& [language, paths] : pathsByLanguage) {
      if (paths.size() < 2) {
        continue;
      }
      list.add(
          Severity::note, "language-twice",
          "there is more than one package for " + language + ": " + join(paths, ", "),
          "remove what is not wanted; 'kqtts explain " + language + "' tells which one counts");
    }
  }

  const Installation& installation;
  FindingList& list;
};

}  // namespace

void explainLanguages(const Installation& installation, FindingList& list) {
  LanguageFindings(installation, list).explain();
}

}  // namespace tool
