#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <boost/filesystem/directory.hpp>
#include <fstream>
#include <future>
#include <kq/error.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <thread>

#include "engines/speaking_engine.hpp"
#include "support/errors.hpp"
#include "support/storm.hpp"

namespace {

using test::SpeakingEngine;
using test::SpeechEvent;
using Kind = test::SpeechEvent::Kind;
using ::testing::Each;
using ::testing::ElementsAre;

TEST(TwoEngines, SoundEachAsIfAlone) {
  const double english = test::length(test::spoken("Hello"));
  SpeakingEngine first;
  SpeakingEngine second;
  second->setCurrentVoice(test::engineUnderTest().otherVoice);
  second->setParameter("speed", 200);
  second->startSynthetizer("Bonjour");
  first->startSynthetizer("Hello");
  EXPECT_NEAR(test::length(first.host.samples()), english, english * 0.01);
}

TEST(TwoEngines, SpeakOneAfterAnother) {
  SpeakingEngine first;
  SpeakingEngine second;
  std::atomic<int> speaking{0};
  const auto alone = [&] {
    const bool was = ++speaking == 1;
    --speaking;
    return was;
  };
  first.host.atAudio = alone;
  second.host.atAudio = alone;
  std::thread other([&] { second->startSynthetizer("One two three four five six seven"); });
  first->startSynthetizer("One two three four five six seven");
  other.join();
  EXPECT_THAT(first.host.ends(), ElementsAre(SpeechEnd::finished));
  EXPECT_THAT(second.host.ends(), ElementsAre(SpeechEnd::finished));
}

/// Two engines: the first one speaks and holds the synthesiser, the second one waits.
class WaitingEngine : public ::testing::Test {
 protected:
  WaitingEngine() {
    speech = std::async(std::launch::async, [&] { first->startSynthetizer(test::longText()); });
    EXPECT_TRUE(first.host.firstAudio.wait());
    first->pauseSynthetizer();
    waiting = std::async(std::launch::async, [&] { second->startSynthetizer("Hello"); });
  }
  ~WaitingEngine() override {
    first->terminate();
    second->terminate();
  }

  SpeakingEngine first;
  SpeakingEngine second;
  std::future<void> speech;
  std::future<void> waiting;
};

TEST_F(WaitingEngine, SpeaksWhenTheOtherHasEnded) {
  first->stopSynthetizer();
  waiting.wait();
  EXPECT_THAT(second.host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST_F(WaitingEngine, CanBeStopped) {
  // The stop may come before the start; then the next one stops it.
  while (waiting.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
    second->stopSynthetizer();
    std::this_thread::yield();
  }
  EXPECT_THAT(second.host.ends(), ElementsAre(SpeechEnd::stopped));
  EXPECT_TRUE(second.host.samples().empty());
}

TEST_F(WaitingEngine, CanBeTerminated) {
  second->terminate();
  try {
    waiting.get();
    EXPECT_THAT(second.host.ends(), ElementsAre(SpeechEnd::stopped));
  } catch (const KQError&) {
    EXPECT_TRUE(second.host.events().empty());  // it had not begun
  }
}

TEST_F(WaitingEngine, CanBeInitialisedMeanwhile) {
  SpeakingEngine third;
  EXPECT_EQ(third->getCurrentLanguage(), "English");
}

TEST(TwoEngines, OneCannotSpeakFromAnEventOfTheOther) {
  SpeakingEngine first;
  SpeakingEngine second;
  first.host.atAudio = [&] {
    second->startSynthetizer("Hello");
    return true;
  };
  EXPECT_THAT([&] { first->startSynthetizer("Hello"); },
              test::throwsKQError(test::engineUnderTest().name, "startSynthetizer",
                                  "An utterance cannot be started from an event of another one."));
  EXPECT_TRUE(second.host.events().empty());
  EXPECT_THAT(first.host.ends(), ElementsAre(SpeechEnd::failed));
}

TEST(TwoEngines, OneSpeaksOnWhenTheOtherIsGone) {
  SpeakingEngine first;
  { SpeakingEngine second; }
  first->startSynthetizer("Hello");
  EXPECT_GT(test::level(first.host.samples()), 500);
}

TEST(Threads, SeveralStartsOfOneEngineAreOneUtteranceAfterAnother) {
  SpeakingEngine speaking;
  test::storm(
      2, {[&] { speaking->startSynthetizer("One"); }, [&] { speaking->startSynthetizer("Two"); },
          [&] { speaking->startSynthetizer("Three"); }});
  bool open = false;
  for (const SpeechEvent& event : speaking.host.events()) {
    EXPECT_EQ(open, event.kind != Kind::start);
    open = event.kind != Kind::end;
  }
  EXPECT_EQ(speaking.host.ends().size(), 6U);
}

TEST(Threads, AllOperationsMayBeCalledAtOnce) {
  const test::EngineUnderTest& other = test::engineUnderTest();
  SpeakingEngine speaking;
  std::atomic<bool> over{false};
  std::thread speech([&] {
    for (int i = 0; i < 60; ++i) {
      speaking->startSynthetizer("Hello \\mrk=1\\ there, how do you do?");
    }
    over = true;
  });
  const std::vector<std::function<void()>> operations{
      [&] { speaking->stopSynthetizer(); },
      [&] {
        speaking->pauseSynthetizer();
        speaking->restartSynthetizer();
      },
      [&] {
        speaking->setCurrentLanguage(other.otherLanguage);
        speaking->setCurrentLanguage("English");
      },
      [&] {
        speaking->setCurrentVoice(other.otherVoice);
        speaking->setDefaultVoice();
      },
      [&] {
        speaking->setParameter("speed", 200);
        speaking->getParameter("speed");
        speaking->resetSpeed();
      },
      [&] {
        speaking->isPaused();
        speaking->getCurrentLanguage();
        speaking->getCurrentVoice();
      },
      [&] {
        speaking->getAvailableVoices();
        speaking->getAllAvailableVoices();
        speaking->getAvailableLanguages();
      },
      [&] {
        speaking->getVoiceInstallDir(other.otherVoice);
        speaking->getCurrentSamplingRate();
        speaking->testTextEncoding("a", other.otherLanguage);
      }};
  std::vector<std::thread> threads;
  for (const auto& operation : operations) {
    threads.emplace_back([&] {
      while (!over) {
        operation();
        std::this_thread::yield();
      }
    });
  }
  speech.join();
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(speaking.host.events(Kind::start).size(), 60U);
  EXPECT_EQ(speaking.host.ends().size(), 60U);
}

TEST(Threads, TerminateDuringAStart) {
  const std::vector<zu::PackageInfo> packages = test::engineUnderTest().packages;
  for (int round = 0; round < 300; ++round) {
    SpeakingEngine speaking(packages);
    std::thread speech([&] {
      try {
        speaking->startSynthetizer("Hello");
      } catch (const KQError&) {
        // It came after the shut-down.
      }
    });
    if (round % 3 != 0) {
      std::this_thread::yield();
    }
    speaking->terminate();
    speech.join();
    EXPECT_EQ(speaking.host.events(Kind::start).size(), speaking.host.ends().size());
  }
}

TEST(Threads, TerminateOfTheManagerDuringARoutedStart) {
  test::searchBuiltPlugins();
  const std::vector<zu::PackageInfo> packages = test::engineUnderTest().packages;
  const auto languages = test::languageTable();
  for (int round = 0; round < 100; ++round) {
    test::SpeechRecorder host;
    KQ::TextToSpeechManager manager(&host, languages);
    ASSERT_TRUE(manager.initialize(packages));
    std::thread speech([&] {
      try {
        manager.startSynthetizer("Hello");
      } catch (const KQError&) {
        // It came after the shut-down.
      }
    });
    if (round % 2 == 0) {
      std::this_thread::yield();
    }
    manager.terminate();
    speech.join();
    EXPECT_EQ(host.events(Kind::start).size(), host.ends().size());
  }
}

bool isMapped(const std::string& library) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(library) != std::string::npos) {
      return true;
    }
  }
  return false;
}

int threadCount() {
  int count = 0;
  for (const auto& task : boost::filesystem::directory_iterator("/proc/self/task")) {
    static_cast<void>(task);
    ++count;
  }
  return count;
}

TEST(Unloading, LeavesNoPlugInAndNoThread) {
  const int threads = threadCount();
  {
    SpeakingEngine speaking;
    speaking->startSynthetizer("Hello");
    EXPECT_TRUE(isMapped("libkqtts-" + test::engineUnderTest().plugin));
    // An isolated engine's synthesiser is in another process.
    EXPECT_EQ(isMapped(test::engineUnderTest().library), !test::isIsolated());
  }
  // After a death, an isolating plug-in stays in the process, to go on counting deaths.
  EXPECT_TRUE(test::isIsolated() || !isMapped("libkqtts-" + test::engineUnderTest().plugin));
  EXPECT_EQ(threadCount(), threads);
}

TEST(Unloading, LetsTheEngineBeLoadedAgain) {
  test::spoken("Hello");
  EXPECT_GT(test::level(test::spoken("Hello")), 500);
}

}  // namespace
