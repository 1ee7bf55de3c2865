#include "probe/probe.hpp"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <kq/error.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <memory>
#include <sstream>
#include <zu/log.hpp>

namespace tool {

namespace {

using nlohmann::json;

const char* nameOf(zu::log::Level level) {
  using zu::log::Level;
  switch (level) {
    case Level::silent:
      return "silent";
    case Level::fatal:
      return "fatal";
    case Level::error:
      return "error";
    case Level::warning:
      return "warning";
    case Level::info:
      return "info";
    case Level::verbose:
      return "verbose";
    case Level::debug:
      break;
  }
  return "debug";
}

std::string dump(const json& value) {
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void takeMessage(const std::string& line, Probe& probe) {
  const json message = json::parse(line, nullptr, false);
  if (!message.is_object() || message.size() != 1) return;
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

}  // namespace

std::string currentExceptionText() {
  try {
    throw;
  } catch (const KQError& error) {
    return error.getDescription();
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "an exception of another language";
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr), &std::free);
    return std::string("an exception of the type ") + (name ? name.get() : type->name());
  }
}

void ProbeChannel::step(const std::string& name) {
  const std::lock_guard<std::mutex> lock(mutex);
  current = name;
  channel.send(dump({{"step", name}}));
}

void ProbeChannel::tell(const std::string& name, const json& fact) {
  const std::string message = dump({{name, fact}});
  const std::lock_guard<std::mutex> lock(mutex);
  channel.send(message);
}

std::string ProbeChannel::currentStep() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return current;
}

Probe runProbe(const std::function<void(ProbeChannel&)>& work, std::chrono::milliseconds deadline) {
  const auto watched = [&](const ChildChannel& childChannel) {
    ProbeChannel channel(childChannel);
    zu::log::setLevel(zu::log::Level::verbose);
    const int handler = zu::log::addHandler([&](const zu::log::Record& record) {
      channel.tell("log", LogLine{channel.currentStep(), nameOf(record.level), record.category,
                                  record.message});
    });
    try {
      work(channel);
    } catch (...) {
      channel.tell("exception", currentExceptionText());
    }
    zu::log::removeHandler(handler);
  };
  Probe probe;
  probe.child = runInChild(watched, deadline);
  std::istringstream lines(probe.child.messages);
  for (std::string line; std::getline(lines, line);) takeMessage(line, probe);
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
