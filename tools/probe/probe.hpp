#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "system/child_process.hpp"

namespace KQ {
class TextToSpeechEngine;
}

namespace tool {

/// A record that was logged while a probe ran.
struct LogLine {
  std::string step;
  std::string level;
  std::string category;
  std::string message;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(LogLine, step, level, category, message)

/// What came out of work in a child process.
struct Probe {
  ChildResult child;
  std::string step;       ///< the last one that was begun
  std::string exception;  ///< the text of one that left the work; "" if none did
  std::vector<LogLine> log;
  std::map<std::string, std::vector<nlohmann::json>> facts;  ///< by name, in the order of sending

  /// Whether the work came to its end: no crash, no hang, no exception.
  bool isComplete() const { return child.end == ChildResult::End::finished && exception.empty(); }

  /// Reads the facts of one name. One that is not of the shape expected is left out: the plug-in
  /// itself may have written it.
  template <typename Fact>
  std::vector<Fact> get(const std::string& name) const {
    std::vector<Fact> result;
    const auto found = facts.find(name);
    if (found == facts.end()) {
      return result;
    }
    for (const nlohmann::json& fact : found->second) {
      try {
        result.push_back(fact.get<Fact>());
      } catch (const nlohmann::json::exception&) {
        continue;
      }
    }
    return result;
  }
};

/// Through this, work in a child process sends what it finds to its parent: one JSON object a line.
/// Thread-safe, since plug-ins may log from threads of their own.
class ProbeChannel {
 public:
  explicit ProbeChannel(const ChildChannel& childChannel) : channel(childChannel) {}

  /// Begins a step. If the process dies, it died in the last step that was sent.
  void step(const std::string& name);
  void send(const std::string& name, const nlohmann::json& fact);
  std::string currentStep() const;

 private:
  const ChildChannel& channel;
  mutable std::mutex mutex;
  std::string current;  ///< guarded by mutex, which also keeps messages whole
};

/// What becomes of log records while a probe runs.
enum class Logging {
  collected,  ///< those of level verbose and below are sent to the parent
  asUsual     ///< they go to standard error, at the program's level
};

/// Runs work in a child process. Collects what it sends and how it ends.
/// 	hrows Failure if no child can be made
Probe runProbe(const std::function<void(ProbeChannel&)>& work, std::chrono::milliseconds deadline,
               Logging logging = Logging::collected);

/// What an engine says of itself.
struct EngineFacts {
  std::string plugin;
  std::string name;
  std::vector<std::string> languages;
  std::map<std::string, std::string> voices;         ///< voice to language
  std::map<std::string, std::string> defaultVoices;  ///< by language
  std::map<std::string, std::string> voiceFolders;   ///< by voice; "" when the engine does not say
  std::vector<std::string> outdated;                 ///< languages

  bool offers(const std::string& language) const;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(EngineFacts, plugin, name, languages, voices, defaultVoices,
                                   voiceFolders, outdated)

/// Asks a running engine.
EngineFacts describe(const std::string& plugin, const KQ::TextToSpeechEngine& engine);

}  // namespace tool
