#include "probe/probe.hpp"

#include <algorithm>
#include <kqtts/texttospeech_engine.hpp>
#include <optional>
#include <sstream>
#include <zu/log.hpp>

#include "probe/exception_text.hpp"
#include "text/log_level.hpp"

namespace tool {

namespace {

using nlohmann::json;

std::string dump(const json& value) {
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void takeMessage(const std::string& line, Probe& probe) {
  const json message = json::parse(line, nullptr, false);
  if (!message.is_object() || message.size() != 1) {
    return;
  }
  const std::string& name = message.begin().key();
  const json& value = message.begin().value();
  if (name == "step" && value.is_string()) {
    probe.step = value;
  } else if (name == "exception" && value.is_string()) {
    probe.exception = value;
  } else {
    probe.facts[name].push_back(value);
  }
}

/// Sends log records to the parent.
class LogCollector {
 public:
  explicit LogCollector(ProbeChannel& channel)
      : handler(zu::log::addHandler([&channel](const zu::log::Record& record) {
          channel.send("log", LogLine{channel.currentStep(), nameOf(record.level), record.category,
                                      record.message});
        })) {
    zu::log::setLevel(zu::log::Level::verbose);
  }
  ~LogCollector() { zu::log::removeHandler(handler); }
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

 private:
  int handler;
};

}  // namespace

void ProbeChannel::step(const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex);
  current = name;
  channel.send(dump({{"step", name}}));
}

void ProbeChannel::send(const std::string& name, const json& fact) {
  const std::string message = dump({{name, fact}});
  const std::lock_guard<std::mutex> lock(mutex);
  channel.send(message);
}

std::string ProbeChannel::currentStep() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return current;
}

Probe runProbe(const std::function<void(ProbeChannel&)>& work, std::chrono::milliseconds deadline,
               Logging logging) {
  const auto watched = [&](const ChildChannel& childChannel) {
    ProbeChannel channel(childChannel);
    std::optional<LogCollector> collector;
    if (logging == Logging::collected) {
      collector.emplace(channel);
    }
    try {
      work(channel);
    } catch (...) {
      channel.send("exception", describeException().message());
    }
  };
  Probe probe;
  probe.child = runInChild(watched, deadline);
  std::istringstream lines(probe.child.messages);
  for (std::string line; std::getline(lines, line);) {
    takeMessage(line, probe);
  }
  probe.log = probe.get<LogLine>("log");
  return probe;
}

bool EngineFacts::offers(const std::string& language) const {
  return std::find(languages.begin(), languages.end(), language) != languages.end();
}

EngineFacts describe(const std::string& plugin, const KQ::TextToSpeechEngine& engine) {
  EngineFacts facts;
  facts.plugin = plugin;
  facts.name = engine.getName();
  facts.languages = engine.getAvailableLanguages();
  facts.voices = engine.getAllAvailableVoices();
  facts.outdated = engine.getOldLanguagesDetected();
  for (const std::string& language : facts.languages) {
    facts.defaultVoices[language] = engine.getDefaultVoiceForLanguage(language);
  }
  for (const auto& [voice, language] : facts.voices) {
    facts.voiceFolders[voice] = engine.getVoiceInstallDir(voice);
  }
  return facts;
}

}  // namespace tool
