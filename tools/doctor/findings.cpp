#include "doctor/findings.hpp"

#include "doctor/finding_list.hpp"
#include "probe/installation.hpp"

namespace tool {

namespace {

void explainAudio(const Installation& installation, FindingList& list) {
  const Probe& audio = installation.audio;
  if (!installation.audioDevice.empty()) {
    list.add(Severity::ok, "audio-device", installation.audioDevice, "");
  } else if (audio.child.end == ChildResult::End::finished) {
    list.add(Severity::warning, "audio-device-missing",
             "no sound can be played here: " + audio.exception.substr(0, audio.exception.find(';')),
             "connect or configure one; 'kqtts say -o FILE.wav' works without");
  } else {
    const Mishap mishap = mishapOf(audio);
    list.add(Severity::warning, "audio-" + mishap.cause, "the audio system " + mishap.text,
             "restart or repair it; 'kqtts say -o FILE.wav' works without", mishap.details);
  }
}

}  // namespace

const char* nameOf(Severity severity) {
  switch (severity) {
    case Severity::ok:
      return "ok";
    case Severity::note:
      return "note";
    case Severity::warning:
      return "warning";
    case Severity::problem:
      break;
  }
  return "problem";
}

std::vector<Finding> explainInstallation(const Installation& installation) {
  FindingList list(installation);
  list.begin("plug-ins");
  explainPlugins(installation, list);
  list.begin("packages");
  explainPackages(installation, list);
  list.begin("languages");
  explainLanguages(installation, list);
  list.begin("audio");
  explainAudio(installation, list);
  list.begin("environment");
  explainEnvironment(installation, list);
  if (!installation.canSpeak() && !list.holdsProblem()) {
    list.begin("languages");
    list.add(Severity::problem, "no-sound", "no engine gives a sound", "see the notes");
  }
  return list.findings();
}

}  // namespace tool
