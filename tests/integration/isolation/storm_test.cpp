#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "isolated.hpp"
#include "support/environment.hpp"

namespace {

using test::IsolatedFaultyEngine;
using test::SpeechEvent;
using Kind = SpeechEvent::Kind;
using Clock = std::chrono::steady_clock;

/// KQTTS_STORM_UTTERANCES in the environment, else a few.
int utterances() {
  const char* const wanted = std::getenv("KQTTS_STORM_UTTERANCES");
  return wanted != nullptr ? std::atoi(wanted) : 60;
}

/// Ends or holds the engine's process at a moment of its own, from a thread of its own.
class Killer {
 public:
  Killer(pid_t process, std::chrono::microseconds moment, int signal)
      : thread([=] {
          std::this_thread::sleep_for(moment);
          ::kill(process, signal);
        }) {}
  ~Killer() { thread.join(); }
  Killer(const Killer&) = delete;
  Killer& operator=(const Killer&) = delete;

 private:
  std::thread thread;
};

TEST(Storm, OfDeathsLosesNoWordAndNoEnd) {
  const test::Environment patience{"KQTTS_ISOLATION_PATIENCE", "300"};
  const std::string text = "One two three four. Five six seven. Eight nine ten eleven. Twelve.";
  std::vector<std::string> words;
  {
    IsolatedFaultyEngine engine;
    engine->startSynthetizer(text);
    words = engine.host.words(text);
    ASSERT_EQ(words.size(), 12U);
  }
  std::mt19937 random(7);
  IsolatedFaultyEngine engine;
  const int count = utterances();
  Clock::duration longest{};
  for (int i = 0; i < count; ++i) {
    SCOPED_TRACE(i);
    const std::size_t before = engine.host.events().size();
    const std::size_t endsBefore = engine.host.ends().size();
    // Paces the host, so that the moment falls into the utterance.
    engine.host.atAudio = [] {
      std::this_thread::sleep_for(std::chrono::microseconds(200));
      return true;
    };
    const bool isHeld = random() % 8 == 0;
    {
      const Killer killer(engine.process(), std::chrono::microseconds(random() % 6000),
                          isHeld ? SIGSTOP : SIGKILL);
      const auto begin = Clock::now();
      engine->startSynthetizer(text);
      longest = std::max(longest, Clock::now() - begin);
    }
    const auto events = engine.host.events();
    std::vector<std::string> told;
    for (std::size_t at = before; at < events.size(); ++at) {
      if (events[at].kind == Kind::word) {
        told.push_back(text.substr(events[at].word.textOffset, events[at].word.textLength));
      }
    }
    EXPECT_EQ(told, words);
    EXPECT_EQ(engine.host.ends().size(), endsBefore + 1);
    EXPECT_EQ(engine.host.ends().back(), SpeechEnd::finished);
  }
  RecordProperty(
      "longest",
      static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(longest).count()));
}

}  // namespace
