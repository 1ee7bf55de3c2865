#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <kq/error.hpp>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "plugin_folder.hpp"
#include "support/latch.hpp"
#include "test_manager.hpp"

namespace {

using test::TestManager;

const std::vector<zu::PackageInfo> packages = {{"nuance", "language", "English"},
                                               {"nuance", "current", "English"}};

/// A manager whose engine is speaking while the process forks. The speaking thread holds the
/// manager's lock.
class Fork : public testing::Test {
 protected:
  Fork() {
    folder.install("nuance", "scripted");
    journal::setListener([this](const std::string& event) {
      if (event == "nuance xStartSynthetizer hello") {
        entered.open();
        release.wait();
      }
    });
  }

  void speak() {
    manager->initialize(packages);
    speaker = std::thread([this] { manager->startSynthetizer("hello"); });
    ASSERT_TRUE(entered.wait());
  }

  ~Fork() override {
    release.open();
    if (speaker.joinable()) {
      speaker.join();
    }
  }

  /// Runs work in a forked child, and kills a child that hangs. \return its exit status, or -1
  static int inChild(const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      _exit(work() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  static bool isRefused(const std::function<void()>& operation) {
    try {
      operation();
    } catch (const KQError& error) {
      return error.getDescription().find("before this process was forked") != std::string::npos;
    }
    return false;
  }

  test::PluginFolder folder;
  std::unique_ptr<TestManager> manager = std::make_unique<TestManager>();
  test::Latch entered;
  test::Latch release;
  std::thread speaker;
};

TEST_F(Fork, TheChildsOperationsAreErrors) {
  speak();
  const std::function<void()> operations[] = {
      [&] { manager->startSynthetizer("child"); },
      [&] { manager->getParameter("speed"); },
      [&] { manager->stopSynthetizer(); },
      [&] { manager->setCurrentLanguage("English"); },
      [&] { manager->getAvailableLanguages(); },
      [&] { manager->getCurrentVoice(); },
      [&] { manager->xLoadPlugin("nuance", {}, nullptr); },
      [&] { manager->xUnloadPlugin("nuance"); },
  };
  for (const auto& operation : operations) {
    EXPECT_EQ(inChild([&] { return isRefused(operation); }), 0);
  }
}

TEST_F(Fork, TheChildCanTerminateWithoutTheEngine) {
  speak();
  EXPECT_EQ(inChild([&] {
              journal::take();
              return manager->terminate() && !manager->isInitialized() && journal::take().empty();
            }),
            0);
}

TEST_F(Fork, TheChildCanDestroyTheManagerWithoutTheEngine) {
  speak();
  EXPECT_EQ(inChild([&] {
              journal::take();
              manager.reset();
              return journal::take().empty();
            }),
            0);
}

TEST_F(Fork, TheChildCanInitializeAgain) {
  speak();
  EXPECT_EQ(inChild([&] {
              manager->terminate();
              return manager->initialize(packages) && manager->getParameter("speed") == 1.5F;
            }),
            0);
}

TEST_F(Fork, TheChildMayUseAManagerThatWasNeverInitialized) {
  EXPECT_EQ(inChild([&] {
              return manager->initialize(packages) && manager->getParameter("speed") == 1.5F &&
                     manager->terminate();
            }),
            0);
}

TEST_F(Fork, TheChildMayInitializeAManagerThatWasTerminated) {
  manager->initialize(packages);
  manager->terminate();
  EXPECT_EQ(inChild([&] {
              return manager->initialize(packages) && manager->getParameter("speed") == 1.5F;
            }),
            0);
}

TEST_F(Fork, TheParentNoticesNothing) {
  manager->initialize(packages);
  inChild([&] { return manager->terminate(); });

  EXPECT_EQ(manager->getParameter("speed"), 1.5F);
  EXPECT_TRUE(manager->terminate());
}

}  // namespace
