#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "speaker_setup.hpp"

namespace {

using KQ::Utterance;
using KQ::UtteranceEnd;
using KQ::UtteranceState;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Latch;
using test::SpeakerSetup;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Handles, AnUtteranceStartsSpeaksItsWordsAndFinishes) {
  SpeakerSetup setup;

  const Utterance utterance = setup.say("Hello robot.");

  EXPECT_THAT(setup.notes->notes(), ElementsAre("1 start", "1 voice english-nuance", "1 word Hello",
                                                "1 word robot.", "1 end finished"));
  EXPECT_EQ(utterance.state(), UtteranceState::finished);
  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_EQ(utterance.error(), "");
  EXPECT_EQ(setup.notes->audio().size(), 11 * 100U);
  EXPECT_TRUE(setup.notes->positionsAreRight);
}

TEST(Handles, SpeakReturnsWhileTheUtteranceIsBeingSpoken) {
  SpeakerSetup setup;
  Latch goOn;
  const test::OpenAtEnd opener(goOn);
  setup.notes->atAudio = [&](const Utterance&) { return goOn.wait(); };

  const Utterance first = setup.speaker().speak("One.");
  const Utterance second = setup.speaker().speak("Two.");
  ASSERT_TRUE(setup.notes->firstAudio.wait());

  EXPECT_EQ(first.state(), UtteranceState::speaking);
  EXPECT_EQ(second.state(), UtteranceState::waiting);
  EXPECT_EQ(setup.speaker().current(), first);
  EXPECT_EQ(setup.speaker().waiting(), 1U);
  EXPECT_FALSE(first.waitFor(milliseconds(1)));
}

TEST(Handles, AStopBeforeTheStartOfTheEngineHasBegunCounts) {
  SpeakerSetup setup;
  Utterance utterance;
  Latch isMade;
  test::stage::script("nuance").atStart = [&](const std::string&) {
    isMade.wait();
    utterance.stop();  // the engine has not begun: it forgets this
  };

  utterance = setup.speaker().speak("Never heard.");
  isMade.open();
  ASSERT_TRUE(utterance.waitFor(seconds(60)));

  EXPECT_EQ(utterance.end(), UtteranceEnd::stopped);
  EXPECT_THAT(setup.notes->audio(), IsEmpty());
}

TEST(Handles, AStopBeforeTheStartOfASoundlessEngineCounts) {
  SpeakerSetup setup;
  Utterance utterance;
  Latch isMade;
  std::atomic<int> words{0};
  test::stage::script("nuance").isSoundless = true;
  test::stage::script("nuance").atStart = [&](const std::string&) {
    isMade.wait();
    utterance.stop();
  };
  test::stage::script("nuance").atWord = [&](const std::string&) { ++words; };

  utterance = setup.speaker().speak("One two three four.");
  isMade.open();
  ASSERT_TRUE(utterance.waitFor(seconds(60)));

  EXPECT_LE(words, 1);
}

TEST(Handles, AWaitingUtteranceThatIsStoppedIsNeverBegun) {
  SpeakerSetup setup;
  Latch goOn;
  setup.notes->atAudio = [&](const Utterance&) { return goOn.wait(); };
  const Utterance first = setup.speaker().speak("One.");
  const Utterance second = setup.speaker().speak("Two.");

  second.stop();
  EXPECT_EQ(second.state(), UtteranceState::stopped);
  goOn.open();
  ASSERT_TRUE(second.waitFor(seconds(60)));
  ASSERT_TRUE(first.waitFor(seconds(60)));

  EXPECT_THAT(setup.notes->notes("end"),
              testing::UnorderedElementsAre("1 end finished", "2 end stopped"));
  EXPECT_THAT(test::stage::takeStarts(), ElementsAre("nuance English: One."));
}

TEST(Handles, AStopOfAFinishedUtteranceDoesNotTouchTheNext) {
  SpeakerSetup setup;
  const Utterance first = setup.say("One.");
  Utterance second;
  setup.notes->atStart = [&](const Utterance&) { first.stop(); };

  second = setup.say("Two.");

  EXPECT_EQ(first.end(), UtteranceEnd::finished);
  EXPECT_EQ(second.end(), UtteranceEnd::finished);
}

TEST(Handles, AStopFromEachEventEndsTheUtterance) {
  for (int event = 0; event < 4; ++event) {
    SpeakerSetup setup;
    const auto stop = [](const Utterance& utterance) { utterance.stop(); };
    setup.notes->atStart = event == 0 ? stop : setup.notes->atStart;
    setup.notes->atWord = event == 1 ? stop : setup.notes->atWord;
    setup.notes->atMark = event == 2 ? stop : setup.notes->atMark;
    if (event == 3) {
      setup.notes->atAudio = [&](const Utterance& utterance) {
        utterance.stop();
        return true;
      };
    }

    const Utterance utterance = setup.say("One \\mrk=1\\ two three. Four.");

    EXPECT_EQ(utterance.end(), UtteranceEnd::stopped) << "event " << event;
    EXPECT_EQ(setup.notes->notes("end").size(), 1U);
    EXPECT_LE(setup.notes->notes("word").size(), 2U) << "event " << event;
  }
}

TEST(Handles, ASinkThatWantsNoMoreEndsTheUtterance) {
  SpeakerSetup setup;
  setup.notes->atAudio = [](const Utterance&) { return false; };

  const Utterance utterance = setup.say("One two.");

  EXPECT_EQ(utterance.state(), UtteranceState::stopped);
  EXPECT_EQ(utterance.end(), UtteranceEnd::refused);
}

TEST(Handles, AnExceptionOfAListenerFailsTheUtteranceWithItsText) {
  SpeakerSetup setup;
  setup.notes->atWord = [](const Utterance&) { throw std::runtime_error("no\nroom"); };

  const Utterance utterance = setup.say("One two.");

  EXPECT_EQ(utterance.state(), UtteranceState::failed);
  EXPECT_EQ(utterance.error(), "no room");
  setup.notes->atWord = nullptr;
  EXPECT_EQ(setup.say("Next.").end(), UtteranceEnd::finished);
}

TEST(Handles, AnExceptionFromTheEndHurtsNobody) {
  SpeakerSetup setup;
  setup.notes->atEnd = [](const Utterance&) { throw 7; };

  EXPECT_EQ(setup.say("One.").end(), UtteranceEnd::finished);
  EXPECT_EQ(setup.say("Two.").end(), UtteranceEnd::finished);
}

TEST(Handles, TheNextUtteranceMayBeStartedFromTheEndOfOne) {
  SpeakerSetup setup;
  std::vector<Utterance> chain;
  Latch done;
  setup.notes->atEnd = [&](const Utterance&) {
    if (chain.size() == 3) {
      done.open();
      return;
    }
    chain.push_back(setup.speaker().speak("Next."));
  };

  setup.speaker().speak("First.");

  ASSERT_TRUE(done.wait());
  EXPECT_EQ(setup.notes->notes("end finished").size(), 4U);
}

TEST(Handles, WaitingFromAnEventDoesNotHang) {
  SpeakerSetup setup;
  bool isOver = true;
  setup.notes->atWord = [&](const Utterance& utterance) {
    isOver = utterance.wait() || utterance.waitFor(seconds(60)) ||
             setup.speaker().waitUntilSilent(seconds(60));
  };

  setup.say("One.");

  EXPECT_FALSE(isOver);
}

TEST(Handles, AHandleOutlivesItsSpeaker) {
  SpeakerSetup setup;
  const Utterance utterance = setup.say("One.");
  setup.destroySpeaker();

  utterance.stop();

  EXPECT_TRUE(utterance.wait());
  EXPECT_EQ(utterance.end(), UtteranceEnd::finished);
  EXPECT_EQ(utterance.voice().voice, "english-nuance");
}

TEST(Handles, AnEmptyHandleIsStopped) {
  const Utterance utterance;

  utterance.stop();

  EXPECT_EQ(utterance.id(), 0U);
  EXPECT_EQ(utterance.state(), UtteranceState::stopped);
  EXPECT_TRUE(utterance.wait());
  EXPECT_FALSE(KQ::OpenUtterance().append("x"));
}

TEST(Handles, StopAllEndsWhatIsSpokenAndWhatWaits) {
  SpeakerSetup setup;
  Latch goOn;
  setup.notes->atAudio = [&](const Utterance&) { return goOn.wait(); };
  std::vector<Utterance> utterances;
  for (int i = 0; i < 20; ++i) {
    utterances.push_back(setup.speaker().speak("Word."));
  }
  ASSERT_TRUE(setup.notes->firstAudio.wait());

  setup.speaker().stopAll();
  goOn.open();

  EXPECT_TRUE(setup.speaker().waitUntilSilent(seconds(60)));
  for (const Utterance& utterance : utterances) {
    EXPECT_TRUE(utterance.waitFor(seconds(60)));
    EXPECT_EQ(utterance.end(), UtteranceEnd::stopped);
  }
  EXPECT_EQ(test::stage::takeStarts().size(), 1U);
}

TEST(Handles, StopCurrentLetsTheNextGoOn) {
  SpeakerSetup setup;
  Latch goOn;
  setup.notes->atAudio = [&](const Utterance&) { return goOn.wait(); };
  const Utterance first = setup.speaker().speak("One.");
  const Utterance second = setup.speaker().speak("Two.");
  ASSERT_TRUE(setup.notes->firstAudio.wait());

  setup.speaker().stopCurrent();
  goOn.open();
  ASSERT_TRUE(second.waitFor(seconds(60)));

  EXPECT_EQ(first.end(), UtteranceEnd::stopped);
  EXPECT_EQ(second.end(), UtteranceEnd::finished);
}

TEST(Handles, AnEngineThatFailsEndsItsUtteranceAlone) {
  SpeakerSetup setup;
  setup.speaker();
  test::stage::script("nuance").atWord = [](const std::string& word) {
    if (word == "bad.") {
      throw std::runtime_error("The engine is gone.");
    }
  };

  const Utterance bad = setup.say("Very bad.");

  EXPECT_EQ(bad.state(), UtteranceState::failed);
  EXPECT_EQ(bad.error(), "The engine is gone.");
  EXPECT_EQ(setup.say("Good.").end(), UtteranceEnd::finished);
}

/// Waits until a thread that was left to itself is done with what the test made.
void waitUntilAlone(const std::weak_ptr<test::SpeechNotes>& notes, long users) {
  for (int i = 0; i < 6000 && notes.use_count() > users; ++i) {
    std::this_thread::sleep_for(milliseconds(10));
  }
}

TEST(Destruction, EndsAllWithin100Milliseconds) {
  SpeakerSetup setup;
  setup.notes->atAudio = [&](const Utterance&) {
    std::this_thread::sleep_for(milliseconds(5));
    return true;
  };
  std::vector<Utterance> utterances;
  for (int i = 0; i < 50; ++i) {
    utterances.push_back(setup.speaker().speak("A sentence of several words to be spoken."));
  }
  ASSERT_TRUE(setup.notes->firstAudio.wait());

  const auto begin = std::chrono::steady_clock::now();
  setup.destroySpeaker();
  const auto taken = std::chrono::steady_clock::now() - begin;

  EXPECT_LT(taken, milliseconds(100));
  EXPECT_EQ(setup.notes->notes("end stopped").size(), utterances.size());
}

TEST(Destruction, LeavesAnEngineThatDoesNotReactToItself) {
  auto goOn = std::make_shared<Latch>();
  Latch begun;
  SpeakerSetup setup;
  test::stage::script("nuance").atStart = [&begun, goOn](const std::string&) {
    begun.open();
    goOn->wait();
  };
  Utterance utterance = setup.speaker().speak("Hangs.");
  ASSERT_TRUE(begun.wait());

  const auto started = std::chrono::steady_clock::now();
  setup.destroySpeaker();
  const auto taken = std::chrono::steady_clock::now() - started;

  EXPECT_LT(taken, milliseconds(200));
  EXPECT_THAT(setup.notes->notes("end"), ElementsAre("1 end stopped"));
  EXPECT_TRUE(utterance.wait());
  goOn->open();
  utterance = Utterance();
  waitUntilAlone(setup.notes, 2);  // the setup and its settings
}

TEST(Destruction, FromAnEventEndsAllAfterIt) {
  auto setup = std::make_unique<SpeakerSetup>();
  const auto notes = setup->notes;
  Latch ended;
  notes->atEnd = [&](const Utterance&) { ended.open(); };
  setup->speaker();
  notes->atWord = [&](const Utterance&) { setup->destroySpeaker(); };

  Utterance utterance = setup->speaker().speak("One two three.");

  ASSERT_TRUE(ended.wait());
  EXPECT_EQ(utterance.end(), UtteranceEnd::stopped);
  EXPECT_EQ(notes->notes("word").size(), 1U);
  utterance = Utterance();
  waitUntilAlone(notes, 3);  // the test, the setup and its settings
}

TEST(Errors, WithoutEnginesEachUtteranceFailsAndSaysSo) {
  SpeakerSetup setup;
  setup.stage.packages.clear();

  const Utterance utterance = setup.say("One.");

  EXPECT_FALSE(setup.speaker().isReady());
  EXPECT_EQ(utterance.state(), UtteranceState::failed);
  EXPECT_THAT(utterance.error(), HasSubstr("No speech engine can be used."));
}

}  // namespace
