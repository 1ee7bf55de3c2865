#include <gmock/gmock.h>

#include <functional>
#include <kq/error.hpp>
#include <map>
#include <string>
#include <thread>

#include "plugin_folder.hpp"
#include "support/errors.hpp"
#include "support/latch.hpp"
#include "support/row_name.hpp"
#include "test_manager.hpp"

namespace {

using test::managerModule;
using test::TestManager;

constexpr const char* wouldWait =
    "This thread is inside an operation of the manager, which this one would wait for.";

struct WaitingOperation {
  const char* name;
  const char* method;
  std::function<void(TestManager&)> run;
};

class Reentrance : public testing::TestWithParam<WaitingOperation> {
 protected:
  Reentrance() {
    folder.install("nuance", "scripted");
    manager.initialize({{"nuance", "language", "English"},
                        {"nuance", "current", "English"},
                        {"nuance", "voice", "Anna=English"}});
  }

  /// Runs an action inside an utterance of the manager, in the thread that speaks.
  void duringStart(const std::function<void()>& action) {
    journal::setListener([&](const std::string& event) {
      if (event == "nuance xStartSynthetizer outer") {
        action();
      }
    });
    manager.startSynthetizer("outer");
  }

  test::PluginFolder folder;
  TestManager manager;
};

TEST_P(Reentrance, IsRefusedInsideAnUtteranceOfItsThread) {
  bool wasInside = false;
  duringStart([&] {
    wasInside = true;
    EXPECT_THAT([&] { GetParam().run(manager); },
                test::throwsKQError(managerModule, GetParam().method, wouldWait));
  });
  EXPECT_TRUE(wasInside);
  EXPECT_FALSE(manager.isLocked());
}

INSTANTIATE_TEST_SUITE_P(
    Operation, Reentrance,
    testing::Values(
        WaitingOperation{"Start", "startSynthetizer", [](auto& m) { m.startSynthetizer("inner"); }},
        WaitingOperation{"SetParameter", "setParameter",
                         [](auto& m) { m.setParameter("speed", 1); }},
        WaitingOperation{"GetParameter", "getParameter", [](auto& m) { m.getParameter("speed"); }},
        WaitingOperation{"ResetSpeed", "resetSpeed", [](auto& m) { m.resetSpeed(); }},
        WaitingOperation{"SetCurrentLanguage", "setCurrentLanguage",
                         [](auto& m) { m.setCurrentLanguage("English"); }},
        WaitingOperation{"SetCurrentVoice", "setCurrentVoice",
                         [](auto& m) { m.setCurrentVoice("Anna"); }},
        WaitingOperation{"InitializeAfterTerminate", "initialize",
                         [](auto& m) {
                           m.terminate();
                           m.initialize({});
                         }}),
    test::RowName());

TEST_F(Reentrance, LeavesTheNextOperationOfTheThreadFree) {
  duringStart([&] { EXPECT_THROW(manager.getParameter("speed"), KQError); });

  EXPECT_EQ(manager.getParameter("speed"), 1.5F);
}

TEST_F(Reentrance, AllowsWhatDoesNotWait) {
  duringStart([&] {
    manager.stopSynthetizer();
    manager.pauseSynthetizer();
    manager.restartSynthetizer();
    EXPECT_EQ(manager.getCurrentLanguage(), "English");
    EXPECT_EQ(manager.getCurrentSamplingRate(), 22050);
  });
}

/// Adds a second manager that has its own engine.
class ReentranceBesideAnother : public Reentrance {
 protected:
  ReentranceBesideAnother() {
    folder.install("aitalk", "scripted");
    other.initialize({{"nuance", "refuse", "xInitialize"},
                      {"aitalk", "language", "French"},
                      {"aitalk", "current", "French"}});
  }

  /// Calls an action for each event of the plug-ins.
  static void listen(const std::map<std::string, std::function<void()>>& actions) {
    journal::setListener([actions](const std::string& event) {
      if (const auto action = actions.find(event); action != actions.end()) {
        action->second();
      }
    });
  }

  TestManager other;
};

TEST_F(ReentranceBesideAnother, AllowsTheOtherManager) {
  duringStart([&] { EXPECT_EQ(other.getParameter("speed"), 1.5F); });
}

TEST_F(ReentranceBesideAnother, IsSeenThroughTheOtherManager) {
  bool wasInside = false;
  listen({{"nuance xStartSynthetizer outer", [&] { other.startSynthetizer("middle"); }},
          {"aitalk xStartSynthetizer middle", [&] {
             wasInside = true;
             EXPECT_THROW(manager.getParameter("speed"), KQError);
           }}});

  manager.startSynthetizer("outer");

  EXPECT_TRUE(wasInside);
}

TEST_F(ReentranceBesideAnother, AManagerThatStaysBusyRefuses) {
  test::Latch entered;
  test::Latch outerIsDone;
  // As if both managers shared a synthesiser: the second utterance waits for the outer one.
  listen({{"aitalk xStartSynthetizer waiting",
           [&] {
             entered.open();
             outerIsDone.wait();
           }},
          {"nuance xStartSynthetizer outer", [&] {
             EXPECT_THAT([&] { other.getParameter("speed"); },
                         test::throwsKQError(managerModule, "getParameter",
                                             "The manager is busy, perhaps with waiting for the "
                                             "utterance of this thread."));
           }}});
  std::thread speaker([&] { other.startSynthetizer("waiting"); });
  ASSERT_TRUE(entered.wait());

  manager.startSynthetizer("outer");

  outerIsDone.open();
  speaker.join();
}

TEST_F(Reentrance, AnotherThreadStillWaits) {
  test::Latch asked;
  float value = 0;
  std::thread asking;
  duringStart([&] {
    asking = std::thread([&] {
      asked.open();
      value = manager.getParameter("speed");
    });
    asked.wait();
  });
  asking.join();
  EXPECT_EQ(value, 1.5F);
}

TEST(InitializeBesideAnUnload, IsAnErrorOnceNoEngineIsLeft) {
  const test::PluginFolder folder;
  folder.install("aitalk", "scripted");
  folder.install("nuance", "scripted");
  TestManager manager;
  journal::setListener([&](const std::string& event) {
    // "aitalk" is already in the registry.
    if (event == "nuance xInitialize") {
      manager.xUnloadPlugin("aitalk");
    }
  });

  EXPECT_THAT(
      [&] {
        manager.initialize({{"nuance", "refuse", "xInitialize"}});
      },
      test::throwsKQError(managerModule, "initialize",
                          "The engine was unloaded while it was being initialized."));
  EXPECT_FALSE(manager.isInitialized());
  EXPECT_FALSE(manager.isLocked());
}

}  // namespace
