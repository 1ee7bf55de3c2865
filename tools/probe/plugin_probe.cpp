#include "probe/plugin_probe.hpp"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <kqtts/plugin_names.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <zu/path.hpp>

#include "probe/plugin_library.hpp"

namespace tool {

namespace {

namespace fs = boost::filesystem;

using Packages = std::vector<zu::PackageInfo>;

/// The packages that hold none of the engine's voices.
Packages withoutVoices(const Packages& packages, const EngineFacts& engine) {
  Packages result;
  std::copy_if(packages.begin(), packages.end(), std::back_inserter(result),
               [&](const zu::PackageInfo& package) {
                 return std::none_of(
                     engine.voiceFolders.begin(), engine.voiceFolders.end(),
                     [&](const auto& voice) { return isInside(voice.second, package.path); });
               });
  return result;
}

/// Whether the engine offers something when it is given these packages alone.
bool takes(KQ::TextToSpeechEngine& engine, const Packages& packages) {
  engine.terminate();
  return engine.initialize(packages) && !engine.getAvailableLanguages().empty();
}

/// Finds the engine's packages among those in which it reported no voice: some engines do not
/// report the folders of their voices, and some offer nothing from a package that they take.
void tryPackages(KQ::TextToSpeechEngine& engine, const Packages& packages, ProbeChannel& channel) {
  if (packages.empty() || !takes(engine, packages)) {
    return;
  }
  for (const zu::PackageInfo& package : packages) {
    if (!takes(engine, {package})) {
      continue;
    }
    channel.send("claim", Claim{package.path, !engine.getOldLanguagesDetected().empty()});
  }
}

void tryEngine(const std::string& plugin, KQ::TextToSpeechEngine& engine, const Packages& packages,
               ProbeChannel& channel) {
  channel.step(steps::initialize);
  if (!engine.initialize(packages)) {
    return;
  }
  channel.step(steps::describe);
  const EngineFacts facts = describe(plugin, engine);
  channel.send("engine", facts);
  channel.step(steps::packages);
  tryPackages(engine, withoutVoices(packages, facts), channel);
  channel.step(steps::close);
  engine.terminate();
}

void tryPlugin(const std::string& plugin, const std::string& library, const Packages& packages,
               const boost::shared_ptr<KQ::TTSLanguageInfo>& languageInfo, ProbeChannel& channel) {
  channel.step(steps::open);
  PluginLibrary opened(library);
  if (!opened.isOpen()) {
    channel.send("openingError", opened.error());
    return;
  }
  channel.send("hasEntryPoint", opened.canLoad());
  if (!opened.canLoad()) {
    return;
  }
  channel.step(steps::create);
  KQ::TextToSpeechEngine* const engine = opened.createEngine(nullptr, languageInfo);
  if (engine == nullptr) {
    return;
  }
  channel.send("created", true);
  tryEngine(plugin, *engine, packages, channel);
  channel.step(steps::close);
  if (opened.canUnload()) {
    opened.destroyEngine(engine);
  }
  opened.close();
}

std::vector<Claim> claimsByVoices(const Packages& packages, const EngineFacts& engine) {
  const auto isOutdated = [&](const std::string& language) {
    return std::find(engine.outdated.begin(), engine.outdated.end(), language) !=
           engine.outdated.end();
  };
  std::vector<Claim> claims;
  for (const zu::PackageInfo& package : packages) {
    Claim claim{package.path, false};
    bool isOwn = false;
    for (const auto& [voice, folder] : engine.voiceFolders) {
      if (!isInside(folder, package.path)) {
        continue;
      }
      isOwn = true;
      const auto language = engine.voices.find(voice);
      claim.outdated |= language != engine.voices.end() && isOutdated(language->second);
    }
    if (isOwn) {
      claims.push_back(claim);
    }
  }
  return claims;
}

}  // namespace

PluginSearch searchPlugin(const std::string& plugin) {
  PluginSearch search;
  search.library = findLibraryOf(plugin);
  for (const std::string& name : KQ::plugin_names::librariesOf(plugin)) {
    for (const std::string& folder : zu::path::libDirs()) {
      const std::string path = folder + "/" + name + ".so";
      boost::system::error_code ignored;
      const fs::file_type type = fs::symlink_status(path, ignored).type();
      // The library itself has several paths where there are links.
      if (type == fs::file_not_found || type == fs::status_error ||
          fs::equivalent(path, search.library, ignored)) {
        continue;
      }
      const bool isFile = fs::is_regular_file(path, ignored);
      (isFile ? search.hidden : search.noFiles).push_back(path);
    }
  }
  return search;
}

bool PluginReport::isHarmful() const {
  return !search.library.empty() && !probe.isComplete() && probe.step != steps::packages &&
         probe.step != steps::close;
}

PluginReport probePlugin(const std::string& plugin, const std::vector<zu::PackageInfo>& packages,
                         std::chrono::milliseconds deadline) {
  PluginReport report;
  report.name = plugin;
  report.search = searchPlugin(plugin);
  if (report.search.library.empty()) {
    return report;
  }
  // Made here: the table logs each of its languages, which is no news of the plug-in.
  const auto languageInfo = boost::make_shared<KQ::TTSLanguageInfo>();
  report.probe = runProbe(
      [&](ProbeChannel& channel) {
        tryPlugin(plugin, report.search.library, packages, languageInfo, channel);
      },
      deadline);
  for (const std::string& error : report.probe.get<std::string>("openingError")) {
    report.openingError = error;
  }
  for (const bool isThere : report.probe.get<bool>("hasEntryPoint")) {
    report.hasEntryPoint = isThere;
  }
  report.created = !report.probe.get<bool>("created").empty();
  const std::vector<EngineFacts> engines = report.probe.get<EngineFacts>("engine");
  report.started = !engines.empty();
  if (report.started) {
    report.engine = engines.back();
  }
  report.claims = claimsByVoices(packages, report.engine);
  for (const Claim& claim : report.probe.get<Claim>("claim")) {
    report.claims.push_back(claim);
  }
  return report;
}

bool isInside(const std::string& path, const std::string& folder) {
  return !folder.empty() && path.compare(0, folder.size(), folder) == 0 &&
         (path.size() == folder.size() || folder.back() == '/' || path[folder.size()] == '/');
}

}  // namespace tool
