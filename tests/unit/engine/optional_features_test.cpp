#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "support/errors.hpp"
#include "support/fake_engine.hpp"
#include "support/log_recorder.hpp"
#include "support/row_name.hpp"

namespace {

using test::FakeEngine;
using test::MinimalEngine;
using test::throwsNotActive;
using testing::ElementsAre;
using testing::IsEmpty;

test::LogLine warning(const char* message, const char* function, int line) {
  return {zu::log::Level::warning,
          "kqtexttospeechengine",
          message,
          "kqtts/texttospeech_engine",
          function,
          line};
}

const test::LogLine noDictionary =
    warning("No dictionary available for this language", "logWarningUserDictionary", 86);

struct Feature {
  const char* name;
  std::function<void(MinimalEngine&)> call;
  test::LogLine warning;
};

void PrintTo(const Feature& feature, std::ostream* stream) {
  *stream << feature.name;
}

class MissingFeature : public testing::TestWithParam<Feature> {};

TEST_P(MissingFeature, LogsOneWarningEachTime) {
  MinimalEngine engine;
  engine.initialize({});
  engine.takeCalls();
  const test::LogRecorder log;

  GetParam().call(engine);
  GetParam().call(engine);

  EXPECT_THAT(log.lines(), ElementsAre(GetParam().warning, GetParam().warning));
  EXPECT_THAT(engine.takeCalls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Features, MissingFeature,
    testing::Values(
        Feature{"loadDictionary", [](MinimalEngine& e) { e.loadDictionary(); }, noDictionary},
        Feature{"unloadDictionary", [](MinimalEngine& e) { e.unloadDictionary(); }, noDictionary},
        Feature{"showDictionary", [](MinimalEngine& e) { e.showDictionary(); }, noDictionary},
        Feature{"deleteFromDictionary",
                [](MinimalEngine& e) { EXPECT_FALSE(e.deleteFromDictionary("a", "b")); },
                noDictionary},
        Feature{"addToDictionary",
                [](MinimalEngine& e) { EXPECT_FALSE(e.addToDictionary("a", "b", "c", "d", "e")); },
                noDictionary},
        Feature{"logWarningUserDictionary",
                [](MinimalEngine&) { KQ::TextToSpeechEngine::logWarningUserDictionary(); },
                noDictionary},
        Feature{"setDefaultVoice", [](MinimalEngine& e) { e.setDefaultVoice(); },
                warning("No default voice available for the current language. Keep the current "
                        "voice",
                        "xSetDefaultVoice", 142)},
        Feature{"applyEffect", [](MinimalEngine& e) { e.applyEffect("echo", false); },
                warning("No effect available for this language", "xApplyEffect", 146)},
        Feature{"loadEffect", [](MinimalEngine& e) { e.loadEffect("/effects/echo"); },
                warning("No effect available for this language", "xLoadEffect", 149)}),
    test::RowName());

TEST(OptionalFeaturesTest, AnInactiveEngineThrowsAndLogsNothing) {
  MinimalEngine engine;
  const test::LogRecorder log;

  EXPECT_THAT([&] { engine.addToDictionary("a", "b", "c", "d", "e"); },
              throwsNotActive("AddToDictionary"));
  EXPECT_THAT([&] { engine.setDefaultVoice(); }, throwsNotActive("AddToDictionary"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(OptionalFeaturesTest, EffectsNeedNoActiveEngine) {
  MinimalEngine engine;
  const test::LogRecorder log;

  engine.loadEffect("/effects/echo");
  engine.applyEffect("echo", true);

  EXPECT_THAT(log.messages(), ElementsAre("No effect available for this language",
                                          "No effect available for this language"));
}

TEST(OptionalFeaturesTest, TheEnginesAnswersPassUnchanged) {
  FakeEngine engine;
  engine.initialize({});
  EXPECT_TRUE(engine.deleteFromDictionary("a", "b"));
  EXPECT_TRUE(engine.addToDictionary("a", "b", "c", "d", "e"));

  engine.dictionaryResult = false;
  EXPECT_FALSE(engine.deleteFromDictionary("a", "b"));
  EXPECT_FALSE(engine.addToDictionary("a", "b", "c", "d", "e"));
}

std::string standardOutputOf(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

TEST(LoadEffectTest, SaysSoOnStandardOutputWithTheQuotedPath) {
  FakeEngine engine;
  EXPECT_EQ(standardOutputOf([&] { engine.loadEffect("/effects/big \"echo\" & more"); }),
            "Engine load effect \"/effects/big &\"echo&\" && more\"\n");
}

TEST(LoadEffectTest, SaysSoBeforeAHookThatFails) {
  FakeEngine engine;
  engine.onCall = [](const std::string&) { throw std::runtime_error("no such file"); };

  const std::string output = standardOutputOf(
      [&] { EXPECT_THROW(engine.loadEffect("/effects/echo"), std::runtime_error); });

  EXPECT_EQ(output, "Engine load effect \"/effects/echo\"\n");
}

TEST(LoadEffectTest, TheLineIsOutBeforeTheHookRuns) {
  FakeEngine engine;
  std::string insideHook;
  testing::internal::CaptureStdout();
  engine.onCall = [&](const std::string&) { insideHook = testing::internal::GetCapturedStdout(); };
  engine.loadEffect("");
  EXPECT_EQ(insideHook, "Engine load effect \"\"\n");
}

TEST(EnableFilterTest, StoresTheFlagEvenWhenInactive) {
  FakeEngine engine;
  EXPECT_TRUE(engine.isFilterEnabled());

  engine.enableFilter(false);
  EXPECT_FALSE(engine.isFilterEnabled());

  engine.enableFilter(true);
  EXPECT_TRUE(engine.isFilterEnabled());
}

TEST(DeactivateLanguagesTest, DoesNothingByDefault) {
  FakeEngine engine;
  engine.initialize({});
  engine.takeCalls();
  const test::LogRecorder log;

  engine.deactivateLanguages({"English"});

  EXPECT_THAT(engine.takeCalls(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(engine.getCurrentLanguage(), "English");
}

}  // namespace
