#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <set>

#include "check_engine/checks.hpp"
#include "check_engine/trial_engine.hpp"

namespace tool {

namespace {

using Voices = std::map<std::string, std::string>;

/// What the engine base answers for an engine that does not name its voices.
constexpr const char* unnamedVoice = "default";

bool holds(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// An engine that names no voice passes.
bool speaks(const Voices& voices, const std::string& voice, const std::string& language) {
  const auto found = voices.find(voice);
  return found == voices.end() ? voice == unnamedVoice : found->second == language;
}

void checkNames(const Examination& exam, TrialEngine& engine,
                const std::vector<std::string>& languages) {
  std::set<std::string> seen;
  for (const std::string& language : languages) {
    exam.expect(!language.empty(), "a language with an empty name is offered");
    exam.expect(seen.insert(language).second, "the language " + language + " is offered twice");
    exam.expect(language.empty() || !engine.table().getLocale(language).empty(),
                "the language \"" + language +
                    "\" does not stand in the language table, so that no host knows its locale");
  }
}

void checkLanguage(const Examination& exam, TrialEngine& engine, const std::string& language) {
  exam.require("setCurrentLanguage(\"" + language + "\")",
               [&] { engine->setCurrentLanguage(language); });
  const std::string current = engine->getCurrentLanguage();
  exam.expect(current == language,
              "the current language is \"" + current + "\" after " + language + " was chosen");
  const Voices all = engine->getAllAvailableVoices();
  const Voices voices =
      exam.require("getAvailableVoices()", [&] { return engine->getAvailableVoices(); });
  exam.expect(!voices.empty(), "the language " + language + " has no voice");
  for (const auto& [voice, itsLanguage] : voices) {
    exam.expect(all.count(voice) != 0,
                "the voice " + voice + " is of getAvailableVoices(), not of all voices");
  }
  const std::string voice =
      exam.require("getCurrentVoice()", [&] { return engine->getCurrentVoice(); });
  exam.expect(speaks(all, voice, language), "the current voice is \"" + voice + "\" after " +
                                                language + " was chosen, which it does not speak");
  const std::string defaultVoice =
      exam.require("getDefaultVoiceForLanguage(\"" + language + "\")",
                   [&] { return engine->getDefaultVoiceForLanguage(language); });
  exam.expect(speaks(all, defaultVoice, language), "the default voice for " + language + ", \"" +
                                                       defaultVoice + "\", is no voice of it");
  const int rate =
      exam.require("getCurrentSamplingRate()", [&] { return engine->getCurrentSamplingRate(); });
  exam.expect(rate >= 1000 && rate <= 768000, "the sampling rate of " + language + " is " +
                                                  std::to_string(rate) +
                                                  " Hz, which no device plays");
}

void checkVoice(const Examination& exam, TrialEngine& engine, const std::string& voice) {
  exam.require("setCurrentVoice(\"" + voice + "\")", [&] { engine->setCurrentVoice(voice); });
  const std::string current = engine->getCurrentVoice();
  exam.expect(current == voice || current == unnamedVoice,
              "the current voice is \"" + current + "\" after \"" + voice + "\" was chosen");
  const std::string folder = exam.require("getVoiceInstallDir(\"" + voice + "\")",
                                          [&] { return engine->getVoiceInstallDir(voice); });
  boost::system::error_code error;
  exam.expect(folder.empty() || boost::filesystem::is_directory(folder, error),
              "the folder of the voice " + voice + ", " + folder + ", is not there");
}

}  // namespace

void checkLanguages(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::vector<std::string> languages = engine->getAvailableLanguages();
  checkNames(exam, engine, languages);
  const std::string current =
      exam.require("getCurrentLanguage()", [&] { return engine->getCurrentLanguage(); });
  exam.expect(current.empty() || holds(languages, current),
              "the current language, " + current + ", is not offered");
  if (current.empty()) {
    exam.note("no language is current until one is chosen");
  }
  for (const std::string& language : languages) {
    checkLanguage(exam, engine, language);
  }
  exam.note(std::to_string(languages.size()) + " languages are offered");
}

void checkVoices(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::vector<std::string> languages = engine->getAvailableLanguages();
  const Voices voices =
      exam.require("getAllAvailableVoices()", [&] { return engine->getAllAvailableVoices(); });
  for (const auto& [voice, language] : voices) {
    exam.expect(!voice.empty(), "a voice with an empty name is offered");
    exam.expect(holds(languages, language), "the voice " + voice + " speaks \"" + language +
                                                "\", which is not among the languages on offer");
  }
  for (const auto& [voice, language] : voices) {
    if (!holds(languages, language)) {
      continue;
    }
    engine->setCurrentLanguage(language);
    checkVoice(exam, engine, voice);
  }
  exam.require("setDefaultVoice()", [&] { engine->setDefaultVoice(); });
  exam.expect(speaks(voices, engine->getCurrentVoice(), engine->getCurrentLanguage()),
              "setDefaultVoice() left the engine with a voice of another language");
  exam.note(std::to_string(voices.size()) + " voices are offered");
}

void checkUnknownNames(const Examination& exam) {
  TrialEngine engine(exam);
  engine.initializeToSpeak();
  const std::string language = engine->getCurrentLanguage();
  const std::string voice = engine->getCurrentVoice();
  for (const std::string unknown : {"No Such Name", "", "\xff"}) {
    exam.expectRefusal("the unknown language \"" + unknown + "\"",
                       [&] { engine->setCurrentLanguage(unknown); });
    exam.expectRefusal("the unknown voice \"" + unknown + "\"",
                       [&] { engine->setCurrentVoice(unknown); });
  }
  exam.expect(engine->getCurrentLanguage() == language,
              "a refused language changed the current one");
  exam.expect(engine->getCurrentVoice() == voice, "a refused voice changed the current one");
  exam.step("asking about an unknown voice and language");
  try {
    exam.expect(engine->getVoiceInstallDir("No Such Name").empty(),
                "getVoiceInstallDir() names a folder for an unknown voice");
    engine->getDefaultVoiceForLanguage("No Such Name");
  } catch (const KQError&) {
    exam.note("asking about an unknown name is refused by a KQError");
  } catch (...) {
    exam.find("asking about an unknown name threw " + describeException().withType());
  }
}

}  // namespace tool
