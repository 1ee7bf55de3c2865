#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// What the tests' engines do, and what they were asked. A library of its own, which the plug-ins
/// and the test program share.
namespace test::stage {

/// How the engine of a plug-in behaves. Set before a speaker is made.
struct Script {
  int samplingRate = 16000;
  int amplitude = 8000;
  std::size_t samplesPerLetter = 100;
  std::size_t silenceAtEnds = 0;  ///< samples before and after the speech
  bool isSoundless = false;
  bool reportsPhonemes = false;
  /// Called by each start, before its onStart; may block or throw.
  std::function<void(const std::string& text)> atStart;
  /// Called before each word; may block or throw.
  std::function<void(const std::string& word)> atWord;
  /// Called by each stop.
  std::function<void()> atStop;
  /// Whether initialize() succeeds.
  bool isUsable = true;
};

#define STAGE_EXPORT __attribute__((visibility("default")))

/// The script of a plug-in, "nuance" or "aitalk".
STAGE_EXPORT Script& script(const std::string& plugin);

/// Puts all scripts back.
STAGE_EXPORT void reset();

/// Notes a start.
STAGE_EXPORT void note(const std::string& start);

/// The starts since the last time, "PLUGIN LANGUAGE: text".
STAGE_EXPORT std::vector<std::string> takeStarts();

}  // namespace test::stage
