#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "speaker_setup.hpp"

namespace {

using KQ::PausePoint;
using KQ::SpeechOptions;
using KQ::SpeechPriority;
using KQ::Utterance;
using KQ::UtteranceEnd;
using KQ::UtteranceState;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Latch;
using test::SpeakerSetup;
using testing::ElementsAre;
using testing::IsEmpty;

SpeechOptions withPriority(SpeechPriority priority) {
  SpeechOptions options;
  options.priority = priority;
  return options;
}

/// Speaks, and holds the speech in the first audio until it is let go.
class HeldSpeech {
 public:
  explicit HeldSpeech(SpeakerSetup& speakerSetup) : setup(speakerSetup) {
    setup.notes->atAudio = [this](const Utterance&) {
      inAudio.open();
      return goOn.wait();
    };
  }
  ~HeldSpeech() { goOn.open(); }
  HeldSpeech(const HeldSpeech&) = delete;
  HeldSpeech& operator=(const HeldSpeech&) = delete;

  Utterance begin(const std::string& text, const SpeechOptions& options = {}) {
    setup.notes->text = text;
    const Utterance utterance = setup.speaker().speak(text, options);
    EXPECT_TRUE(inAudio.wait());
    return utterance;
  }

  Latch inAudio;
  Latch goOn;

 private:
  SpeakerSetup& setup;
};

TEST(Pause, HoldsTheSpeechUntilItIsResumed) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.notes->atWord = [&](const Utterance&) { setup.speaker().pause(); };
  setup.notes->text = "One two three.";

  const Utterance utterance = setup.speaker().speak("One two three.");
  ASSERT_TRUE(paused.wait());

  EXPECT_EQ(utterance.state(), UtteranceState::paused);
  EXPECT_TRUE(setup.speaker().isPaused());
  EXPECT_THAT(setup.notes->audio(), IsEmpty());
  setup.notes->atWord = nullptr;
  setup.speaker().resume();
  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_THAT(setup.notes->notes(),
              ElementsAre("1 start", "1 voice english-nuance", "1 word One", "1 pause", "1 resume",
                          "1 word two", "1 word three.", "1 end finished"));
}

TEST(Pause, AStopEndsWhatIsHeld) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.speaker().pause();
  setup.speaker().resume();
  setup.notes->atWord = [&](const Utterance&) { setup.speaker().pause(); };
  const Utterance utterance = setup.speaker().speak("One two.");
  ASSERT_TRUE(paused.wait());

  utterance.stop();

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_EQ(utterance.end(), UtteranceEnd::stopped);
  EXPECT_TRUE(setup.speaker().isPaused());
}

TEST(Pause, HoldsWhatIsAddedLater) {
  SpeakerSetup setup;
  setup.speaker().pause();

  const Utterance utterance = setup.speaker().speak("One.");

  EXPECT_FALSE(utterance.waitFor(milliseconds(30)));
  EXPECT_EQ(utterance.state(), UtteranceState::waiting);
  setup.speaker().resume();
  EXPECT_TRUE(utterance.waitFor(seconds(60)));
}

TEST(Pause, BelongsToTheSpeakerWhateverTheLanguage) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.notes->atWord = [&](const Utterance&) { setup.speaker().pause(); };
  SpeechOptions french;
  french.language = "French";
  const Utterance first = setup.speaker().speak("One two.");
  const Utterance second = setup.speaker().speak("Un deux.", french);
  ASSERT_TRUE(paused.wait());
  setup.notes->atWord = nullptr;

  first.stop();
  ASSERT_TRUE(first.waitFor(seconds(60)));
  EXPECT_EQ(second.state(), UtteranceState::waiting);
  setup.speaker().resume();

  EXPECT_TRUE(second.waitFor(seconds(60)));
  EXPECT_EQ(second.end(), UtteranceEnd::finished);
}

TEST(Pause, AtAWordTheAudioBeforeItHasBeenDelivered) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.notes->atStart = [&](const Utterance&) { setup.speaker().pause(PausePoint::word); };
  setup.notes->text = "One two three.";

  const Utterance utterance = setup.speaker().speak("One two three.");
  ASSERT_TRUE(paused.wait());
  EXPECT_THAT(setup.notes->notes("word"), IsEmpty());
  setup.notes->atStart = nullptr;
  setup.notes->atPause = nullptr;
  setup.speaker().resume();

  EXPECT_TRUE(utterance.waitFor(seconds(60)));
}

TEST(Pause, AtAMarkComesAfterTheMarkAndBeforeItsAudio) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.notes->atStart = [&](const Utterance&) { setup.speaker().pause(PausePoint::mark); };
  setup.notes->text = "One \\mrk=5\\ two.";

  const Utterance utterance = setup.speaker().speak("One \\mrk=5\\ two.");
  ASSERT_TRUE(paused.wait());

  EXPECT_THAT(setup.notes->notes(), ElementsAre("1 start", "1 voice english-nuance", "1 word One",
                                                "1 mark 5", "1 pause"));
  EXPECT_EQ(setup.notes->audio().size(), 300U);
  setup.speaker().resume();
  EXPECT_TRUE(utterance.waitFor(seconds(60)));
}

TEST(Pause, AtASentenceTheOneThatIsSpokenEnds) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.notes->atWord = [&](const Utterance&) { setup.speaker().pause(PausePoint::sentence); };
  setup.notes->text = "One two. Three.";

  const Utterance utterance = setup.speaker().speak("One two. Three.");
  ASSERT_TRUE(paused.wait());

  EXPECT_THAT(setup.notes->notes("word"), ElementsAre("1 word One", "1 word two."));
  EXPECT_EQ(setup.notes->audio().size(), 700U);
  setup.notes->atWord = nullptr;
  setup.speaker().resume();
  EXPECT_TRUE(utterance.waitFor(seconds(60)));
}

TEST(Priorities, AnImportantUtteranceEndsAMessage) {
  SpeakerSetup setup;
  HeldSpeech held(setup);
  const Utterance message = held.begin("A long message.");

  const Utterance important =
      setup.speaker().speak("Fire!", withPriority(SpeechPriority::important));
  EXPECT_EQ(message.end(), UtteranceEnd::interrupted);
  held.goOn.open();

  ASSERT_TRUE(important.waitFor(seconds(60)));
  EXPECT_EQ(important.end(), UtteranceEnd::finished);
}

TEST(Priorities, AnInterruptedUtteranceThatResumesGoesOnAtItsLastWord) {
  SpeakerSetup setup;
  Utterance important;
  setup.notes->text = "One two three four.";
  setup.notes->atAudio = [&](const Utterance& utterance) {
    const bool isThree = setup.notes->notes("word").size() == 3;
    if (utterance.id() == 1 && isThree) {
      important = setup.speaker().speak("", withPriority(SpeechPriority::important));
    }
    return true;
  };
  SpeechOptions options;
  options.resumes = true;

  const Utterance utterance = setup.speaker().speak(setup.notes->text, options);

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_THAT(
      setup.notes->notes(),
      ElementsAre("1 start", "1 voice english-nuance", "1 word One", "1 word two", "1 word three",
                  "1 interrupt", "2 start", "2 end finished", "1 start", "1 voice english-nuance",
                  "1 word three", "1 word four.", "1 end finished"));
  EXPECT_TRUE(setup.notes->positionsAreRight);
}

TEST(Priorities, AnUtteranceWithTheSameKeyReplacesTheEarlierOne) {
  SpeakerSetup setup;
  HeldSpeech held(setup);
  SpeechOptions options;
  options.key = "battery";
  const Utterance first = held.begin("Battery at 20 percent.", options);
  const Utterance second = setup.speaker().speak("Battery at 19 percent.", options);
  const Utterance third = setup.speaker().speak("Battery at 18 percent.", options);

  EXPECT_EQ(first.end(), UtteranceEnd::replaced);
  EXPECT_EQ(second.end(), UtteranceEnd::replaced);
  held.goOn.open();
  ASSERT_TRUE(third.waitFor(seconds(60)));
  EXPECT_EQ(third.end(), UtteranceEnd::finished);
}

TEST(Expiry, WhatWaitsTooLongIsNeverBegun) {
  SpeakerSetup setup;
  setup.speaker().pause();
  SpeechOptions options;
  options.expiry = milliseconds(20);

  const Utterance utterance = setup.speaker().speak("Too late.", options);

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_EQ(utterance.end(), UtteranceEnd::expired);
  EXPECT_EQ(utterance.state(), UtteranceState::stopped);
}

TEST(Expiry, WhatHasBegunGoesOn) {
  SpeakerSetup setup;
  HeldSpeech held(setup);
  SpeechOptions options;
  options.expiry = milliseconds(20);
  const Utterance utterance = held.begin("In time.", options);
  std::this_thread::sleep_for(milliseconds(40));
  held.goOn.open();

  ASSERT_TRUE(utterance.waitFor(seconds(60)));

  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
}

TEST(Reload, ComesBetweenTwoSentencesAndKeepsWhatWaits) {
  SpeakerSetup setup;
  HeldSpeech held(setup);
  const Utterance first = held.begin("One. Two.");
  const Utterance second = setup.speaker().speak("Three.");
  std::thread reloading([&] { EXPECT_TRUE(setup.speaker().reload(setup.stage.packages)); });
  held.goOn.open();

  reloading.join();

  ASSERT_TRUE(second.waitFor(seconds(60)));
  EXPECT_EQ(first.end(), UtteranceEnd::finished);
  EXPECT_EQ(second.end(), UtteranceEnd::finished);
}

TEST(Reload, AFailedOneIsMendedByTheNext) {
  SpeakerSetup setup;
  ASSERT_TRUE(setup.speaker().setLanguage("fr"));

  EXPECT_FALSE(setup.speaker().reload({}));
  EXPECT_EQ(setup.say("One.").end(), UtteranceEnd::failed);
  EXPECT_TRUE(setup.speaker().reload(setup.stage.packages));

  EXPECT_EQ(setup.say("Two.").end(), UtteranceEnd::finished);
  EXPECT_EQ(setup.speaker().language(), "French");
}

TEST(Reload, WhileTheSpeechIsHeldTheUtteranceGoesOnAtItsLastWord) {
  SpeakerSetup setup;
  Latch paused;
  setup.notes->atPause = [&](const Utterance&) { paused.open(); };
  setup.notes->atWord = [&](const Utterance&) {
    if (setup.notes->notes("word").size() == 2) {
      setup.speaker().pause();
    }
  };
  setup.notes->text = "One two three.";
  const Utterance utterance = setup.speaker().speak("One two three.");
  ASSERT_TRUE(paused.wait());

  EXPECT_TRUE(setup.speaker().reload(setup.stage.packages));
  setup.speaker().resume();

  ASSERT_TRUE(utterance.waitFor(seconds(60)));
  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_THAT(setup.notes->notes("word"),
              ElementsAre("1 word One", "1 word two", "1 word One", "1 word two", "1 word three."));
}

TEST(Storm, EachUtteranceEndsOnceWhateverThreadsDo) {
  SpeakerSetup setup;
  setup.speaker();
  std::mutex mutex;
  std::vector<Utterance> made;
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) {
    threads.emplace_back([&, seed] {
      std::mt19937 random(seed);
      for (int i = 0; i < 150; ++i) {
        SpeechOptions options;
        options.priority = static_cast<SpeechPriority>(random() % 5);
        options.resumes = random() % 2 == 0;
        options.language = random() % 2 == 0 ? "French" : "English";
        const Utterance utterance =
            setup.speaker().speak("One \\mrk=3\\ two. \\Lang=de\\ Drei \\RST\\ four.", options);
        {
          const std::lock_guard<std::mutex> lock(mutex);
          made.push_back(utterance);
        }
        switch (random() % 8) {
          case 0:
            setup.speaker().pause(static_cast<PausePoint>(random() % 4));
            break;
          case 1:
            utterance.stop();
            break;
          case 2:
            setup.speaker().stopCurrent();
            break;
          case 3:
            setup.speaker().stopAll();
            break;
          default:
            setup.speaker().resume();
            break;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  setup.speaker().resume();

  ASSERT_TRUE(setup.speaker().waitUntilSilent(seconds(60)));
  EXPECT_EQ(made.size(), 600U);
  EXPECT_EQ(setup.notes->notes("end ").size(), made.size());
  EXPECT_EQ(setup.notes->notes("end failed").size(), 0U);
}

}  // namespace
