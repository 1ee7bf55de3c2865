#include "probe/session_probe.hpp"

#include <algorithm>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>

#include "probe/exception_text.hpp"

namespace tool {

namespace {

constexpr const char* trialText = "1, 2, 3.";

/// Waits for the first sound of an utterance, and ends it there.
class SoundDetector : public TextToSpeechEngineCallbackInterface {
 public:
  bool onAudio(const std::int16_t* /*samples*/, std::size_t count, int /*samplingRate*/) override {
    heard |= count > 0;
    return !heard;
  }

  bool heard = false;
};

SessionFacts ask(HostSession& session) {
  SessionFacts facts;
  KQ::TextToSpeechManager& manager = session.manager();
  const auto engines = session.engines();
  for (const auto& [plugin, engine] : engines) {
    facts.engines.push_back(describe(plugin, *engine));
  }
  facts.languages = session.languages();
  for (const std::string& language : facts.languages) {
    const auto serving = manager.xGetEngine(language);
    for (const auto& [plugin, engine] : engines) {
      if (engine == serving) {
        facts.routes[language] = plugin;
      }
    }
  }
  facts.voiceLanguages = manager.getAllAvailableVoices();
  facts.outdated = manager.getOldLanguagesDetected();
  facts.language = session.usualLanguage();
  return facts;
}

TrialResult perform(const Trial& trial, KQ::TextToSpeechManager& manager, SoundDetector& detector) {
  TrialResult result{trial.language, trial.voice, "", false};
  detector.heard = false;
  try {
    if (!trial.language.empty()) {
      manager.setCurrentLanguage(trial.language);
    }
    if (!trial.voice.empty()) {
      manager.setCurrentVoice(trial.voice);
    }
    if (trial.speaks) {
      manager.startSynthetizer(trialText);
    }
  } catch (...) {
    result.error = describeException().message();
  }
  result.sound = detector.heard;
  return result;
}

}  // namespace

bool SessionFacts::offers(const std::string& spoken) const {
  return std::find(languages.begin(), languages.end(), spoken) != languages.end();
}

const EngineFacts* SessionFacts::engineOf(const std::string& spoken) const {
  const auto route = routes.find(spoken);
  if (route == routes.end()) {
    return nullptr;
  }
  const auto engine = std::find_if(engines.begin(), engines.end(), [&](const EngineFacts& facts) {
    return facts.plugin == route->second;
  });
  return engine == engines.end() ? nullptr : &*engine;
}

bool SessionFacts::isOutdated(const std::string& spoken) const {
  return std::find(outdated.begin(), outdated.end(), spoken) != outdated.end();
}

SessionReport probeSession(const HostOptions& options,
                           const std::function<std::vector<Trial>(const SessionFacts&)>& trials,
                           std::chrono::milliseconds deadline) {
  SessionReport report;
  report.probe = runProbe(
      [&](ProbeChannel& channel) {
        channel.step("start");
        SoundDetector detector;
        HostSession session(options, &detector);
        channel.step("describe");
        const SessionFacts facts = ask(session);
        channel.send("facts", facts);
        for (const Trial& trial : trials(facts)) {
          channel.step("try");
          channel.send("trying", trial.voice.empty() ? trial.language : trial.voice);
          channel.send("trial", perform(trial, session.manager(), detector));
        }
        channel.step("close");
      },
      deadline);
  const std::vector<SessionFacts> facts = report.probe.get<SessionFacts>("facts");
  report.running = !facts.empty();
  if (report.running) {
    report.facts = facts.back();
  }
  for (const std::string& name : report.probe.get<std::string>("trying")) {
    report.trying = name;
  }
  report.trials = report.probe.get<TrialResult>("trial");
  return report;
}

}  // namespace tool
