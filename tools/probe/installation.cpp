#include "probe/installation.hpp"

#include <algorithm>
#include <cstdlib>
#include <kqtts/plugin_names.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <zu/path.hpp>

#include "probe/plugin_library.hpp"
#include "say/audio_device_sink.hpp"

namespace tool {

namespace {

const char* const variables[] = {
    "ZU_LIBRARY_PATH", "KQTTS_PACKAGE_PATH", "XDG_DATA_HOME", "XDG_DATA_DIRS", "ZU_LOG_LEVEL",
    "LC_ALL",          "LC_MESSAGES",        "LANG"};

std::vector<Trial> everyLanguage(const SessionFacts& facts) {
  std::vector<Trial> trials;
  for (const std::string& language : facts.languages) {
    trials.push_back({language, "", true});
  }
  return trials;
}

void findAudioDevice(ProbeChannel& channel) {
  const AudioDeviceSink device;
  channel.send("device", device.name());
}

}  // namespace

bool Installation::hasStartedPlugin() const {
  return std::any_of(plugins.begin(), plugins.end(),
                     [](const PluginReport& plugin) { return plugin.started; });
}

bool Installation::canSpeak() const {
  return session && std::any_of(session->trials.begin(), session->trials.end(),
                                [](const TrialResult& trial) { return trial.sound; });
}

Installation examineInstallation(const HostOptions& options, std::chrono::milliseconds patience) {
  useEngineFolders(options);
  Installation installation;
  installation.libraryFolders = zu::path::libDirs();
  installation.unloadedLibraries = findUnloadedLibraries();
  installation.packages = surveyPackages(options);
  for (const char* plugin : KQ::plugin_names::all) {
    installation.plugins.push_back(probePlugin(plugin, installation.packages.installed, patience));
  }
  const bool isSafe = std::none_of(installation.plugins.begin(), installation.plugins.end(),
                                   [](const PluginReport& plugin) { return plugin.isHarmful(); });
  if (isSafe && installation.hasStartedPlugin()) {
    installation.session = probeSession(options, everyLanguage, sessionPatience(patience));
  }
  installation.audio = runProbe(findAudioDevice, patience);
  for (const std::string& name : installation.audio.get<std::string>("device")) {
    installation.audioDevice = name;
  }
  for (const char* name : variables) {
    const char* value = std::getenv(name);
    installation.environment.emplace_back(
        name, value == nullptr ? std::nullopt : std::make_optional<std::string>(value));
  }
  return installation;
}

PackageSurvey surveyPackages(const HostOptions& options) {
  // No engine is running in it; it only lends its reader of files.
  const KQ::TextToSpeechManager reader(nullptr, nullptr);
  return surveyPackages(packageFoldersOf(options), reader);
}

std::chrono::milliseconds sessionPatience(std::chrono::milliseconds patience) {
  return 2 * patience;
}

}  // namespace tool
