#include <gmock/gmock.h>

#include <boost/make_shared.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "plugin_folder.hpp"
#include "support/fake_engine.hpp"
#include "support/log_recorder.hpp"

namespace {

using KQ::TextToSpeechEngine;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using zu::log::Level;

constexpr const char* loaderFile = "perception/audio/libkqtts/src/tts_plugin_manager";

/// Makes the map of libraries public.
class Loader : public KQ::TtsPluginManager {
 public:
  using TtsPluginManager::plugins;

  TextToSpeechEngine* load(const std::string& name) {
    return TtsPluginManager::load(name, nullptr, nullptr);
  }
  using TtsPluginManager::load;
};

class PluginLoaderTest : public testing::Test {
 protected:
  test::PluginFolder folder;
  Loader loader;
};

// load() ---------------------------------------------------------------------------------------

TEST_F(PluginLoaderTest, LoadGivesTheEngineThatThePluginMade) {
  folder.install("x", "scripted");
  const test::LogRecorder log;

  TextToSpeechEngine* engine = loader.load("x");

  ASSERT_NE(engine, nullptr);
  EXPECT_EQ(engine->getName(), "x");
  EXPECT_EQ(loader.plugins.size(), 1U);
  EXPECT_NE(loader.plugins[engine], nullptr);
  EXPECT_TRUE(folder.isMapped("x"));
  EXPECT_THAT(log.lines(), IsEmpty());
  loader.unload(&engine);
}

/// Gives the test access to what the entry point received.
struct Received : test::FakeEngine {
  using FakeEngine::callback;
  using FakeEngine::languageInfo;
};

TEST_F(PluginLoaderTest, ThePluginReceivesTheCallbackAndTheTable) {
  folder.install("x", "scripted");
  TextToSpeechEngineCallbackInterface callback;
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();

  TextToSpeechEngine* engine = loader.load("x", &callback, table);

  EXPECT_EQ(table.use_count(), 2);  // the test's and the engine's; the loader keeps none
  EXPECT_EQ(engine->*(&Received::callback), &callback);
  EXPECT_EQ(engine->*(&Received::languageInfo), table);
  loader.unload(&engine);
  EXPECT_EQ(table.use_count(), 1);
}

TEST_F(PluginLoaderTest, TheFirstNameIsPreferred) {
  folder.installUnderSecondName("x", "null_engine");
  folder.install("x", "scripted");

  TextToSpeechEngine* engine = loader.load("x");

  EXPECT_NE(engine, nullptr);
  loader.unload(&engine);
}

TEST_F(PluginLoaderTest, TheSecondNameIsTakenWhenTheFirstIsMissing) {
  folder.installUnderSecondName("x", "scripted");

  TextToSpeechEngine* engine = loader.load("x");

  EXPECT_NE(engine, nullptr);
  loader.unload(&engine);
}

TEST_F(PluginLoaderTest, TheSecondNameIsNotTriedWhenTheFirstCannotBeUsed) {
  folder.installUnderSecondName("x", "scripted");
  folder.install("x", "not_a_library");
  EXPECT_EQ(loader.load("x"), nullptr);
}

class UnknownPlugin : public PluginLoaderTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnknownPlugin, GivesNullAndIsLoggedByName) {
  const test::LogRecorder log;

  EXPECT_EQ(loader.load(GetParam()), nullptr);

  EXPECT_THAT(log.lines(),
              ElementsAre(test::LogLine{Level::warning, "kqtts",
                                        std::string("Could not find plugin: ") + GetParam(),
                                        loaderFile, "load", 48}));
  EXPECT_THAT(loader.plugins, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Names, UnknownPlugin,
                         testing::Values("absent", "", "%s %n %1%", "../x", "/x", "\xFF"));

TEST_F(PluginLoaderTest, WhatIsNoLibraryGivesNullAndTheLoadersError) {
  const std::string path = folder.install("x", "not_a_library");
  const test::LogRecorder log;

  EXPECT_EQ(loader.load("x"), nullptr);

  ASSERT_EQ(log.lines().size(), 1U);
  const test::LogLine line = log.lines().front();
  EXPECT_THAT(line.message, StartsWith("Could not load library:" + path + ": "));
  EXPECT_EQ(line,
            (test::LogLine{Level::warning, "audio.kqtts", line.message, loaderFile, "load", 55}));
  EXPECT_THAT(loader.plugins, IsEmpty());
}

TEST_F(PluginLoaderTest, AMissingFunctionIsFoundWhenTheLibraryIsOpened) {
  folder.install("x", "unresolved");
  const test::LogRecorder log;

  EXPECT_EQ(loader.load("x"), nullptr);

  EXPECT_THAT(log.messages(),
              ElementsAre(testing::AllOf(StartsWith("Could not load library:"),
                                         testing::HasSubstr("function_that_nobody_has"))));
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, ALibraryWithoutEntryPointGivesNullAndStaysOpen) {
  folder.install("x", "without_entry");
  const test::LogRecorder log;

  EXPECT_EQ(loader.load("x"), nullptr);

  EXPECT_THAT(log.lines(),
              ElementsAre(test::LogLine{Level::warning, "audio.kqtts",
                                        "Could not find the load_plugin method in plugin\n",
                                        loaderFile, "load", 64}));
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_TRUE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, APluginWithoutEngineGivesNullLogsNothingAndIsClosed) {
  folder.install("x", "null_engine");
  const test::LogRecorder log;

  EXPECT_EQ(loader.load("x"), nullptr);

  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, AnExceptionOfTheEntryPointPassesAndTheLibraryStaysOpen) {
  folder.install("x", "throwing_entry");

  try {
    loader.load("x");
    FAIL() << "no exception";
  } catch (const std::runtime_error& error) {  // the plug-in's own class
    EXPECT_STREQ(error.what(), "cannot load");
  }
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_TRUE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, OneNameLoadedTwiceGivesTwoEnginesWithAHandleEach) {
  folder.install("x", "scripted");
  TextToSpeechEngine* first = loader.load("x");
  TextToSpeechEngine* second = loader.load("x");
  EXPECT_NE(first, second);
  EXPECT_EQ(loader.plugins.size(), 2U);

  loader.unload(&first);
  EXPECT_EQ(loader.plugins.size(), 1U);
  EXPECT_TRUE(folder.isMapped("x"));
  EXPECT_EQ(second->getName(), "x");

  loader.unload(&second);
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, AStaleEntryOfTheSameEngineIsOverwritten) {
  folder.install("x", "single_engine");
  TextToSpeechEngine* const engine = loader.load("x");
  void* const library = std::exchange(loader.plugins[engine], nullptr);

  EXPECT_EQ(loader.load("x"), engine);

  EXPECT_EQ(loader.plugins[engine], library);
  EXPECT_EQ(loader.plugins.size(), 1U);
}

// unload() -------------------------------------------------------------------------------------

TEST_F(PluginLoaderTest, UnloadLetsThePluginDestroyItsEngineThenClosesTheLibrary) {
  folder.install("x", "scripted");
  TextToSpeechEngine* engine = loader.load("x");
  journal::take();

  loader.unload(&engine);

  EXPECT_THAT(journal::take(), ElementsAre("x unload_plugin", "x destroyed", "x closed"));
  EXPECT_EQ(engine, nullptr);
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, UnloadForgetsAnEngineWhosePointerThePluginLeaves) {
  folder.install("x", "leaving_unload");
  TextToSpeechEngine* engine = loader.load("x");
  TextToSpeechEngine* const before = engine;

  loader.unload(&engine);

  EXPECT_EQ(engine, before);
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, UnloadWithoutEntryPointClosesTheLibraryAndLeavesTheEngine) {
  folder.install("x", "without_unload");
  TextToSpeechEngine* engine = loader.load("x");
  static const TextToSpeechEngine*
      abandoned;  // keeps the leak checker quiet: the test cannot destroy it
  abandoned = engine;
  journal::take();

  loader.unload(&engine);

  EXPECT_THAT(journal::take(), ElementsAre("x closed"));
  EXPECT_EQ(engine, abandoned);
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, AnExceptionOfUnloadPassesAndNothingIsClosedOrForgotten) {
  folder.install("x", "throwing_unload");
  TextToSpeechEngine* engine = loader.load("x");

  EXPECT_ANY_THROW(loader.unload(&engine));

  EXPECT_EQ(loader.plugins.count(engine), 1U);
  EXPECT_TRUE(folder.isMapped("x"));
  delete engine;
}

TEST_F(PluginLoaderTest, UnloadOfAnUnknownEngineIsSilent) {
  test::FakeEngine stranger;
  TextToSpeechEngine* engine = &stranger;
  TextToSpeechEngine* none = nullptr;
  const test::LogRecorder log;

  loader.unload(&engine);
  loader.unload(&none);

  EXPECT_EQ(engine, &stranger);
  EXPECT_THAT(stranger.takeCalls(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PluginLoaderTest, UnloadOfNoPointerIsSilent) {
  const test::LogRecorder log;

  loader.unload(nullptr);

  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PluginLoaderTest, UnloadOfAnEngineThatIsAlreadyUnloadedIsSilent) {
  folder.install("x", "leaving_unload");
  folder.install("y", "scripted");
  TextToSpeechEngine* other = loader.load("y");
  TextToSpeechEngine* engine = loader.load("x");
  loader.unload(&engine);

  loader.unload(&engine);
  loader.softUnload(engine);

  EXPECT_TRUE(folder.isMapped("y"));
  loader.unload(&other);
}

// softUnload() ---------------------------------------------------------------------------------

TEST_F(PluginLoaderTest, SoftUnloadOnlyClosesTheLibrary) {
  folder.install("x", "scripted");
  TextToSpeechEngine* engine = loader.load("x");
  delete engine;
  journal::take();

  loader.softUnload(engine);

  EXPECT_THAT(journal::take(), ElementsAre("x closed"));
  EXPECT_THAT(loader.plugins, IsEmpty());
  EXPECT_FALSE(folder.isMapped("x"));
}

TEST_F(PluginLoaderTest, SoftUnloadOfAnUnknownEngineIsSilent) {
  test::FakeEngine stranger;
  const test::LogRecorder log;

  loader.softUnload(&stranger);
  loader.softUnload(nullptr);

  EXPECT_THAT(stranger.takeCalls(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

// Destruction ----------------------------------------------------------------------------------

TEST_F(PluginLoaderTest, TheDestructorNeitherDestroysEnginesNorClosesLibraries) {
  folder.install("x", "scripted");
  std::optional<Loader> shortLived(std::in_place);
  const std::unique_ptr<TextToSpeechEngine> engine(shortLived->load("x"));
  journal::take();

  shortLived.reset();

  EXPECT_THAT(journal::take(), IsEmpty());
  EXPECT_TRUE(folder.isMapped("x"));
  EXPECT_EQ(engine->getName(), "x");
}

}  // namespace
