#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <kqtts/plugin_names.hpp>
#include <kqtts/tts_language_info.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "app/command.hpp"
#include "app/shared_options.hpp"
#include "probe/installation.hpp"
#include "system/failure.hpp"
#include "text/language_argument.hpp"
#include "text/language_package.hpp"
#include "text/name_distance.hpp"
#include "text/paragraph.hpp"

namespace tool {

namespace {

using boost::algorithm::join;
using Json = nlohmann::ordered_json;

struct ExplainOptions {
  HostOptions host;
  Patience patience;
  std::string asked;
  bool json = false;
};

/// What the user asked about.
struct Request {
  std::string language;  ///< "" if the name is unknown
  std::string voice;     ///< "" unless a voice was meant
};

/// An engine that offers what was asked for.
struct Offer {
  std::string plugin;
  std::string engine;
  std::vector<std::string> packages;
  bool serves = false;
};

/// How a request would be routed.
struct Route {
  std::string asked;
  Request request;
  std::string locale;
  std::vector<Offer> offers;        ///< the one that serves, then the ones that lost
  std::vector<std::string> voices;  ///< of the language, in the engine that serves it
  std::string defaultVoice;
  bool isOutdated = false;
  std::string error;   ///< of the manager, when it was asked; "" when it accepted
  std::string advice;  ///< what to do when it does not work
  std::vector<std::string> closest;
  std::vector<std::string> installed;  ///< languages

  bool isServed() const { return !offers.empty() && offers.front().serves && error.empty(); }
};

// Finding out -------------------------------------------------------------------------------------

Request resolve(const std::string& asked, const SessionFacts& facts) {
  const auto& voices = facts.voiceLanguages;
  const auto exact = voices.find(asked);
  if (exact != voices.end()) {
    return {exact->second, exact->first};
  }
  KQ::TTSLanguageInfo table;
  const std::string language = LanguageResolver(table, facts.languages).resolve(asked);
  if (!language.empty()) {
    return {language, ""};
  }
  const auto similar = std::find_if(voices.begin(), voices.end(), [&](const auto& voice) {
    return boost::algorithm::iequals(voice.first, asked, std::locale::classic());
  });
  return similar == voices.end() ? Request{} : Request{similar->second, similar->first};
}

bool offers(const EngineFacts& engine, const Request& request) {
  return request.voice.empty() ? engine.offers(request.language)
                               : engine.voices.count(request.voice) != 0;
}

/// The packages from which an engine has a language or a voice: those that hold the voices, or,
/// if the engine does not report folders, those that name the language.
std::vector<std::string> packagesOf(const EngineFacts& engine, const Request& request,
                                    const PackageSurvey& survey) {
  std::vector<std::string> holding;
  std::vector<std::string> naming;
  for (const SurveyedPackage& package : survey.packages()) {
    if (!package.isInstalled) {
      continue;
    }
    const bool holds =
        std::any_of(engine.voiceFolders.begin(), engine.voiceFolders.end(), [&](const auto& voice) {
          const auto language = engine.voices.find(voice.first);
          const bool isMeant = request.voice.empty() ? language != engine.voices.end() &&
                                                           language->second == request.language
                                                     : voice.first == request.voice;
          return isMeant && isInside(voice.second, package.path);
        });
    if (holds) {
      holding.push_back(package.path);
    }
    if (package.language == request.language) {
      naming.push_back(package.path);
    }
  }
  return holding.empty() ? naming : holding;
}

void findOffers(const SessionFacts& facts, const PackageSurvey& survey, Route& route) {
  const EngineFacts* serving = facts.engineOf(route.request.language);
  for (const EngineFacts& engine : facts.engines) {
    const bool serves = serving == &engine;
    if (!serves && !offers(engine, route.request)) {
      continue;
    }
    const Offer offer{engine.plugin, engine.name, packagesOf(engine, route.request, survey),
                      serves};
    // Among the engines that lost, the next in line comes first.
    route.offers.insert(serves || route.offers.empty() || !route.offers.front().serves
                            ? route.offers.begin()
                            : route.offers.begin() + 1,
                        offer);
  }
  if (serving == nullptr) {
    return;
  }
  for (const auto& [voice, language] : serving->voices) {
    if (language == route.request.language) {
      route.voices.push_back(voice);
    }
  }
  const auto standard = serving->defaultVoices.find(route.request.language);
  if (standard != serving->defaultVoices.end()) {
    route.defaultVoice = standard->second;
  }
}

void findClosest(const SessionFacts& facts, Route& route) {
  std::vector<std::string> names = facts.languages;
  for (const auto& voice : facts.voiceLanguages) {
    names.push_back(voice.first);
  }
  route.closest = closestNames(route.asked, names);
}

std::string adviceFor(const Route& route) {
  if (route.isServed()) {
    return "";
  }
  if (route.request.language.empty()) {
    return "ask for one that 'kqtts list languages' or 'kqtts list voices' shows";
  }
  if (route.isOutdated) {
    return "install a newer version of the package";
  }
  if (route.offers.empty()) {
    const std::string source = whatBrings(route.request.language);
    return (source.empty() ? "install a package for the language, and the engine that takes it"
                           : source) +
           "; 'kqtts doctor' tells of packages that are not used";
  }
  return "'kqtts doctor' tells more of the engine and its packages";
}

SessionReport askManager(const ExplainOptions& options) {
  const SessionReport session = probeSession(
      options.host,
      [&](const SessionFacts& facts) {
        const Request request = resolve(options.asked, facts);
        return std::vector<Trial>{
            {request.voice.empty() ? request.language : "", request.voice, false}};
      },
      sessionPatience(options.patience.milliseconds()));
  if (!session.running) {
    throw Failure("no speech engine can be used", "'kqtts doctor' tells why");
  }
  return session;
}

Route explainRoute(const ExplainOptions& options) {
  const SessionReport session = askManager(options);
  const SessionFacts& facts = session.facts;
  Route route;
  route.asked = options.asked;
  route.request = resolve(options.asked, facts);
  route.installed = facts.languages;
  route.locale = KQ::TTSLanguageInfo().getLocale(route.request.language);
  route.isOutdated = facts.isOutdated(route.request.language);
  if (!route.request.language.empty()) {
    findOffers(facts, surveyPackages(options.host), route);
    route.error = session.trials.empty() ? "the engine " + session.probe.child.story()
                                         : session.trials.back().error;
  }
  if (route.offers.empty()) {
    findClosest(facts, route);
  }
  route.advice = adviceFor(route);
  return route;
}

// Telling -----------------------------------------------------------------------------------------

std::string meaningOf(const Route& route) {
  const Request& request = route.request;
  if (request.language.empty()) {
    return "\"" + route.asked + "\" is no known language or voice.";
  }
  const std::string language =
      request.language + (route.locale.empty() ? "" : " (" + route.locale + ")");
  if (!request.voice.empty()) {
    return request.voice + " is a voice that speaks " + language + ".";
  }
  return "\"" + route.asked + "\" means the language " + language + ".";
}

std::string reasonFor(const Route& route) {
  const std::string what =
      route.request.voice.empty() ? route.request.language : route.request.voice;
  if (what.empty()) {
    return "";
  }
  if (route.offers.empty()) {
    return "No engine that is running offers " + what + ".";
  }
  if (!route.offers.front().serves) {
    return "No engine serves " + route.request.language + ".";
  }
  const std::string& winner = route.offers.front().plugin;
  if (route.offers.size() == 1) {
    return winner + " is the only engine that offers " + what + ".";
  }
  const auto& plugins = KQ::plugin_names::all;
  return "Engines are asked in the order of their names, " +
         join(std::vector<std::string>(plugins.begin(), plugins.end()), ", ") +
         ", and the last one that offers a language serves it, with all of its voices: here " +
         winner + ".";
}

Json asJson(const Route& route) {
  Json offers = Json::array();
  for (const Offer& offer : route.offers) {
    offers.push_back({{"plugin", offer.plugin},
                      {"engine", offer.engine},
                      {"packages", offer.packages},
                      {"serves", offer.serves}});
  }
  return {{"asked", route.asked},
          {"language", route.request.language},
          {"locale", route.locale},
          {"voice", route.request.voice},
          {"served", route.isServed()},
          {"reason", reasonFor(route)},
          {"offers", offers},
          {"voices", route.voices},
          {"defaultVoice", route.defaultVoice},
          {"outdated", route.isOutdated},
          {"error", route.error},
          {"whatToDo", route.advice},
          {"closest", route.closest},
          {"installedLanguages", route.installed}};
}

std::string asText(const Offer& offer) {
  std::string text = offer.plugin + " (" + offer.engine + ")";
  if (!offer.packages.empty()) {
    text += ", from " + join(offer.packages, ", ");
  }
  return text;
}

std::string asPage(const Route& route) {
  std::string page = paragraph("", meaningOf(route));
  const auto line = [&](const std::string& label, const std::string& text) {
    std::string padded = label;
    padded.resize(12, ' ');
    if (!text.empty()) {
      page += paragraph(padded, text);
    }
  };
  line("why", reasonFor(route));
  for (const Offer& offer : route.offers) {
    line(offer.serves ? "served by" : "lost by", asText(offer));
  }
  line("voices", join(route.voices, ", "));
  line("default", route.defaultVoice);
  if (route.isOutdated) {
    line("outdated", "its package is too old: the language is refused");
  }
  line("refused", route.error);
  line("closest", join(route.closest, ", "));
  if (route.offers.empty()) {
    line("installed", join(route.installed, ", "));
  }
  line("to do", route.advice);
  return page;
}

int explain(const ExplainOptions& options, const StandardOutput& output) {
  const Route route = explainRoute(options);
  output.write(options.json
                   ? asJson(route).dump(2, ' ', false, Json::error_handler_t::replace) + "\n"
                   : asPage(route));
  return route.isServed() ? done : failed;
}

CommandAction addExplainCommand(CLI::App& parser) {
  const auto options = std::make_shared<ExplainOptions>();
  parser
      .add_option("NAME", options->asked,
                  "A language (its name, its locale or its code), or a voice")
      ->option_text("LANGUAGE|VOICE")
      ->required();
  parser.add_flag("--json", options->json, "Write JSON");
  addPatienceOption(parser, options->patience);
  addHostOptions(parser, options->host);
  return [options](StandardOutput& output) { return explain(*options, output); };
}

const CommandRegistration explainRegistration("explain",
                                              {"Show which engine serves a language or a voice",
                                               addExplainCommand});

}  // namespace

}  // namespace tool
