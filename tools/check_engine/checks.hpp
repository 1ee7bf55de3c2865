#pragma once

#include <string>
#include <vector>

namespace tool {

class Examination;

/// One rule of the contract, and the function that checks it.
struct Check {
  const char* name;
  const char* title;
  const char* why;                  ///< what happens if an engine breaks the rule
  const char* remedy;               ///< what the engine's author should do
  const char* needs;                ///< the check that must have finished before, or ""
  void (*run)(const Examination&);  ///< null for the check that judges the output of all others
};

/// All checks; each comes after the one it needs.
const std::vector<Check>& allChecks();

/// The check about standard output: it judges the output of all others.
extern const char* const standardOutputCheck;

void checkEntryPoints(const Examination& exam);
void checkBeforeInitialize(const Examination& exam);
void checkInitialize(const Examination& exam);
void checkLifeCycle(const Examination& exam);
void checkSecondEngine(const Examination& exam);

void checkLanguages(const Examination& exam);
void checkVoices(const Examination& exam);
void checkUnknownNames(const Examination& exam);
void checkParameters(const Examination& exam);

void checkSpeech(const Examination& exam);
void checkEveryVoice(const Examination& exam);
void checkOddTexts(const Examination& exam);
void checkNoCallback(const Examination& exam);
void checkRefusedAudio(const Examination& exam);
void checkHostException(const Examination& exam);
void checkControlFromEvents(const Examination& exam);

void checkStop(const Examination& exam);
void checkPause(const Examination& exam);
void checkThreads(const Examination& exam);
void checkTerminateWhileSpeaking(const Examination& exam);

void checkUnload(const Examination& exam);

}  // namespace tool
