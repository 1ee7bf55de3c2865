#include <gmock/gmock.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <kq/error.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <zu/log.hpp>

#include "plugin_folder.hpp"
#include "support/latch.hpp"
#include "support/storm.hpp"
#include "test_manager.hpp"

namespace {

using test::TestManager;
using testing::Contains;
using testing::ElementsAre;

using Packages = std::vector<zu::PackageInfo>;

const Packages packages = {{"nuance", "language", "English"},
                           {"nuance", "current", "English"},
                           {"nuance", "voice", "Anna=English"},
                           {"aitalk", "language", "French"},
                           {"aitalk", "voice", "Marie=French"}};

class ManagerThreadsTest : public testing::Test {
 protected:
  ManagerThreadsTest() { zu::log::setLevel(zu::log::Level::warning); }
  ~ManagerThreadsTest() override { zu::log::setLevel(zu::log::Level::info); }

  /// Speaks, and ignores errors: the engine may have been unloaded, or be unloaded during the call.
  static void speak(TestManager& manager) {
    try {
      manager.startSynthetizer("hello");
    } catch (const KQError&) {
    }
  }

  test::PluginFolder folder;
};

/// Like everyOperationOf(), for a manager: other threads may switch the language meanwhile.
std::vector<std::function<void()>> everyOperationOf(TestManager& manager) {
  auto actions = test::everyOperationOf(manager);
  actions.push_back([&] {
    manager.xGetEngine("English");
    manager.xGetRelevantEngine();
    manager.getLanguage("Anna");
    manager.testTextEncoding("hello", "French");
  });
  actions.push_back([&] {
    manager.setDefaultVoice();
    manager.loadDictionary();
    manager.addToDictionary("a", "b", "c", "d", "e");
    manager.deleteFromDictionary("a", "b");
    manager.applyEffect("echo", true);
  });
  return actions;
}

/// Ignores errors of a voice operation: after one thread has switched the language, and before it
/// sets the voice, another thread may switch to an engine without that voice.
std::function<void()> tolerant(const std::function<void()>& action) {
  return [action] {
    try {
      action();
    } catch (const KQError&) {
    }
  };
}

TEST_F(ManagerThreadsTest, OperationsStormWithoutARace) {
  folder.install("nuance", "scripted");
  folder.install("aitalk", "scripted");
  TestManager manager;
  manager.initialize(packages);
  std::vector<std::function<void()>> actions;
  for (const auto& action : everyOperationOf(manager)) {
    actions.push_back(tolerant(action));
  }

  test::storm(150, actions);

  manager.setCurrentVoice("Marie");
  EXPECT_EQ(manager.getCurrentLanguage(), "French");
  manager.setCurrentVoice("Anna");
  EXPECT_EQ(manager.getCurrentLanguage(), "English");
}

TEST_F(ManagerThreadsTest, OperationsStormWhileTheManagerIsTerminatedAndInitialized) {
  folder.install("nuance", "scripted");
  folder.install("aitalk", "scripted");
  TestManager manager;
  for (int round = 0; round < 20; ++round) {
    manager.initialize(packages);
    std::vector<std::function<void()>> actions;
    for (const auto& action : everyOperationOf(manager)) {
      actions.push_back(tolerant(action));
    }
    actions.push_back(tolerant([&] { manager.terminate(); }));
    test::storm(3, actions);
    manager.terminate();
    ASSERT_FALSE(manager.isInitialized());
    ASSERT_FALSE(folder.isMapped("nuance"));
    ASSERT_FALSE(folder.isMapped("aitalk"));
  }
}

TEST_F(ManagerThreadsTest, AnEngineIsLoadedAndUnloadedWhileTheManagerAnswersQueries) {
  folder.install("nuance", "scripted");
  folder.install("a", "scripted");  // comes before the plug-in that is loaded
  TestManager manager;
  manager.initialize(packages);

  std::atomic<bool> done{false};
  std::thread loader([&] {
    for (int round = 0; round < 50; ++round) {
      manager.xLoadPlugin("a", {}, nullptr);
      manager.xUnloadPlugin("a");
    }
    done = true;
  });
  while (!done) {
    for (int i = 0; i < 100; ++i) {
      manager.xGetEngine("English");
    }
    manager.getOldLanguagesDetected();
  }
  loader.join();

  EXPECT_THAT(manager.engines, ElementsAre(testing::Key("nuance")));
  EXPECT_FALSE(folder.isMapped("a"));
}

TEST_F(ManagerThreadsTest, TheLibraryIsClosedByTheStartThatOutlivesTheEnginesUnload) {
  folder.install("nuance", "scripted");
  TestManager manager;
  manager.initialize(packages);
  test::Latch entered;
  test::Latch release;
  journal::setListener([&](const std::string& event) {
    if (event == "nuance xStartSynthetizer hello") {
      entered.open();
      release.wait();
    }
  });
  std::thread speaker([&] { manager.startSynthetizer("hello"); });
  ASSERT_TRUE(entered.wait());
  journal::take();

  EXPECT_TRUE(manager.terminate());

  EXPECT_THAT(journal::take(), ElementsAre("nuance xTerminate"));
  EXPECT_TRUE(folder.isMapped("nuance"));
  release.open();
  speaker.join();
  EXPECT_THAT(journal::take(), ElementsAre("nuance destroyed", "nuance closed"));
  EXPECT_FALSE(folder.isMapped("nuance"));
}

TEST_F(ManagerThreadsTest, TheManagerCanBeInitializedAgainWhileAnOldStartIsRunning) {
  folder.install("nuance", "scripted");
  TestManager manager;
  manager.initialize(packages);
  test::Latch entered;
  test::Latch release;
  journal::setListener([&](const std::string& event) {
    if (event == "nuance xStartSynthetizer old") {
      entered.open();
      release.wait();
    }
  });
  const auto old = manager.xGetEngine("English");
  std::thread speaker([&] { old->startSynthetizer("old"); });
  ASSERT_TRUE(entered.wait());
  manager.terminate();

  EXPECT_TRUE(manager.initialize(packages));
  manager.startSynthetizer("new");

  release.open();
  speaker.join();
  manager.terminate();
  EXPECT_TRUE(folder.isMapped("nuance"));  // the old engine is still held
}

TEST_F(ManagerThreadsTest, TerminateDuringAStartIsSafeThousandsOfTimes) {
  folder.install("nuance", "scripted");
  TestManager manager;
  std::atomic<int> started{0};
  journal::setListener([&](const std::string& event) {
    if (event == "nuance xStartSynthetizer hello") {
      ++started;
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < 2000; ++round) {
    ASSERT_TRUE(manager.initialize(packages));
    std::thread speaker([&] { speak(manager); });
    for (int spin = round % 50; spin > 0; --spin) {
      std::this_thread::yield();
    }
    ASSERT_TRUE(manager.terminate());
    speaker.join();
    ASSERT_FALSE(manager.isInitialized());
  }
  EXPECT_FALSE(folder.isMapped("nuance"));
  EXPECT_GT(started, 0);
}

TEST_F(ManagerThreadsTest, AStartThatEndsWithThePluginsOwnExceptionKeepsItsLibrary) {
  folder.install("nuance", "scripted");
  TestManager manager;
  Packages throwing = packages;
  throwing.push_back({"nuance", "throw", "xStartSynthetizer=ownRuntimeError"});
  manager.initialize(throwing);
  test::Latch entered;
  test::Latch release;
  journal::setListener([&](const std::string& event) {
    if (event == "nuance xStartSynthetizer hello") {
      entered.open();
      release.wait();
    }
  });
  std::string caught;
  std::thread speaker([&] {
    try {
      manager.startSynthetizer("hello");
    } catch (const std::runtime_error& error) {
      caught = error.what();
    }
  });
  ASSERT_TRUE(entered.wait());
  manager.terminate();
  release.open();
  speaker.join();

  EXPECT_EQ(caught, "own runtime error");
  EXPECT_THAT(journal::take(), Contains("nuance destroyed"));
  EXPECT_TRUE(folder.isMapped("nuance"));
}

TEST_F(ManagerThreadsTest, TerminateDuringAStartThatThrowsIsSafeManyTimes) {
  folder.install("nuance", "scripted");
  for (const char* kind : {"own", "ownRuntimeError", "ownKQError", "KQError", "text"}) {
    TestManager manager;
    Packages throwing = packages;
    throwing.push_back({"nuance", "throw", std::string("xStartSynthetizer=") + kind});
    for (int round = 0; round < 100; ++round) {
      ASSERT_TRUE(manager.initialize(throwing));
      std::thread speaker([&] {
        try {
          manager.startSynthetizer("hello");
        } catch (const std::exception& error) {
          EXPECT_NE(std::string(error.what()), "");
        } catch (...) {
        }
      });
      ASSERT_TRUE(manager.terminate());
      speaker.join();
    }
  }
}

TEST_F(ManagerThreadsTest, AnErrorOfAnEngineCanBeReadAfterItsLibraryIsClosed) {
  folder.install("nuance", "scripted");
  TestManager manager;
  Packages throwing = packages;
  throwing.push_back({"nuance", "throw", "xStartSynthetizer=KQError"});
  manager.initialize(throwing);
  test::Latch entered;
  test::Latch release;
  journal::setListener([&](const std::string& event) {
    if (event == "nuance xStartSynthetizer hello") {
      entered.open();
      release.wait();
    }
  });
  std::thread speaker([&] {
    try {
      manager.startSynthetizer("hello");
      ADD_FAILURE() << "no exception";
    } catch (const KQError& error) {
      EXPECT_FALSE(folder.isMapped("nuance"));
      EXPECT_STREQ(error.what(), "Plugin::method: error of the engine (plugin.cpp:7)");
      EXPECT_STREQ(error.getFile(), "plugin.cpp");
      EXPECT_EQ(error.getDescription(), "error of the engine");
    }
  });
  ASSERT_TRUE(entered.wait());
  manager.terminate();
  release.open();
  speaker.join();
}

TEST_F(ManagerThreadsTest, AnEngineHeldPastTerminateLivesUntilItIsDropped) {
  folder.install("nuance", "scripted");
  TestManager manager;
  manager.initialize(packages);
  auto held = manager.xGetEngine("English");
  journal::take();

  manager.terminate();

  EXPECT_TRUE(folder.isMapped("nuance"));
  EXPECT_FALSE(held->isInitialized());
  EXPECT_EQ(held->getName(), "nuance");
  held.reset();
  EXPECT_THAT(journal::take(), ElementsAre("nuance xTerminate", "nuance xGetName",
                                           "nuance destroyed", "nuance closed"));
  EXPECT_FALSE(folder.isMapped("nuance"));
}

TEST_F(ManagerThreadsTest, TwoTerminatesAtOnceAreSafe) {
  folder.install("nuance", "scripted");
  folder.install("aitalk", "scripted");
  TestManager manager;
  for (int round = 0; round < 200; ++round) {
    ASSERT_TRUE(manager.initialize(packages));
    std::thread other([&] { EXPECT_TRUE(manager.terminate()); });
    EXPECT_TRUE(manager.terminate());
    other.join();
    ASSERT_FALSE(manager.isInitialized());
    ASSERT_THAT(manager.engines, testing::IsEmpty());
  }
  EXPECT_FALSE(folder.isMapped("nuance"));
  EXPECT_FALSE(folder.isMapped("aitalk"));
}

TEST_F(ManagerThreadsTest, TheTablesCanBeReadWhileTheyAreFilledAndCleared) {
  folder.install("nuance", "scripted");
  TestManager manager;
  std::atomic<bool> done{false};
  // Calls no engine: the lock of the fixtures' journal would hide a missing lock of the manager.
  std::thread reader([&] {
    while (!done) {
      tolerant([&] { manager.xGetEngine("English"); })();
      tolerant([&] { manager.xGetRelevantEngine(); })();
      tolerant([&] { manager.getLanguage("Anna"); })();
      manager.xGetCurrentLanguage();
      manager.xGetAvailableVoices();
      manager.xGetAllAvailableVoices();
    }
  });

  for (int round = 0; round < 50; ++round) {
    manager.initialize(packages);
    manager.terminate();
  }
  done = true;
  reader.join();

  EXPECT_THAT(manager.engines, testing::IsEmpty());
}

TEST_F(ManagerThreadsTest, PluginsAreLoadedRefusedAndReleasedByManyThreadsAtOnce) {
  for (const char* name : {"a", "b", "c"}) {
    folder.install(name, "scripted");
  }
  TestManager manager;
  const auto loadAndUnload = [&](const std::string& name) {
    return [&manager, name] {
      EXPECT_TRUE(manager.xLoadPlugin(name, {}, nullptr));
      EXPECT_TRUE(manager.xUnloadPlugin(name));
    };
  };
  const auto loadRefused = [&] {
    EXPECT_FALSE(manager.xLoadPlugin("c", {{"c", "refuse", "xInitialize"}}, nullptr));
  };
  const auto releaseForeignEngine = [&] {
    const auto engine = boost::make_shared<test::FakeEngine>();
    manager.registerEngine("foreign", engine);
    EXPECT_TRUE(manager.xUnloadPlugin("foreign"));
  };

  test::storm(100, {loadAndUnload("a"), loadAndUnload("b"), loadRefused, releaseForeignEngine});

  EXPECT_THAT(manager.engines, testing::IsEmpty());
  for (const char* name : {"a", "b", "c"}) {
    EXPECT_FALSE(folder.isMapped(name)) << name;
  }
}

TEST_F(ManagerThreadsTest, AnEngineCanBeDroppedWhileItsManagerIsDestroyed) {
  folder.install("nuance", "scripted");
  for (int round = 0; round < 100; ++round) {
    auto manager = std::make_unique<TestManager>();
    manager->initialize(packages);
    auto engine = manager->xGetEngine("English");
    manager->terminate();

    test::storm(1, {[&] { manager.reset(); }, [&] { engine.reset(); }});

    ASSERT_FALSE(manager);
    ASSERT_FALSE(engine);
  }
}

TEST_F(ManagerThreadsTest, TwoManagersShareALibraryWithoutHarm) {
  folder.install("nuance", "scripted");
  for (int round = 0; round < 50; ++round) {
    TestManager first;
    TestManager second;
    ASSERT_TRUE(first.initialize(packages));
    ASSERT_TRUE(second.initialize(packages));
    const auto use = [](TestManager& manager) {
      manager.startSynthetizer("hello");
      EXPECT_TRUE(manager.terminate());
    };
    test::storm(1, {[&] { use(first); }, [&] { use(second); }});
    ASSERT_FALSE(folder.isMapped("nuance"));
  }
}

}  // namespace
