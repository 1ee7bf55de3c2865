#include "isolation/host/engine_memory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace KQ::isolation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The calls that a new process repeats, each as its arguments.
std::vector<std::string> repeated(const EngineMemory& memory) {
  std::vector<std::string> all;
  for (const RememberedCall& call : memory.state().calls) {
    all.push_back(call.arguments);
  }
  return all;
}

TEST(EngineMemory, KeepsTheLastValueOfEachParameter) {
  EngineMemory memory;
  memory.called(Call::xSetParameter, "speed 1", "speed");
  memory.called(Call::xSetParameter, "pitch 1", "pitch");
  memory.called(Call::xSetParameter, "speed 2", "speed");
  EXPECT_THAT(repeated(memory), ElementsAre("pitch 1", "speed 2"));
}

TEST(EngineMemory, RepeatsAResetAfterWhatItResets) {
  EngineMemory memory;
  memory.called(Call::xResetSpeed, "reset", "");
  memory.called(Call::xSetParameter, "speed 1", "speed");
  memory.called(Call::xResetSpeed, "reset", "");
  EXPECT_THAT(repeated(memory), ElementsAre("speed 1", "reset"));
}

TEST(EngineMemory, RepeatsLoadsBeforeWhatUsesThem) {
  EngineMemory memory;
  memory.called(Call::xApplyEffect, "apply", "echo");
  memory.called(Call::xLoadEffect, "load", "echo.xml");
  EXPECT_THAT(repeated(memory), ElementsAre("load", "apply"));
}

TEST(EngineMemory, ForgetsQuestions) {
  EngineMemory memory;
  memory.called(Call::xGetParameter, "speed", "speed");
  EXPECT_THAT(repeated(memory), IsEmpty());
}

TEST(EngineMemory, KeepsDictionariesByLanguage) {
  EngineMemory memory;
  memory.initialized({});
  for (const char* language : {"English", "French", "English"}) {
    memory.standing(language, "");
    memory.called(Call::xLoadDictionary, "", "");
  }
  EXPECT_THAT(memory.state().dictionaries, ElementsAre("English", "French"));
  memory.called(Call::xUnloadDictionary, "", "");
  EXPECT_THAT(memory.state().dictionaries, ElementsAre("French"));
}

TEST(EngineMemory, ForgetsPackagesLanguageAndVoiceAtTheEnd) {
  EngineMemory memory;
  memory.initialized({{"", "", "/package"}});
  memory.standing("French", "Marie");
  memory.terminated();
  EXPECT_FALSE(memory.state().isInitialized);
  EXPECT_THAT(memory.state().packages, IsEmpty());
  EXPECT_EQ(memory.state().voice, "");
}

}  // namespace
