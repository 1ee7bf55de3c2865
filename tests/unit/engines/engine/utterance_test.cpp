#include "engine/utterance.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <thread>

#include "support/speech_recorder.hpp"

namespace {

using KQ::engines::AudioEffects;
using KQ::engines::Utterance;
using KQ::engines::UtteranceControl;
using test::Samples;
using test::SpeechEvent;
using test::SpeechRecorder;
using ::testing::ElementsAre;
using EventKind = SpeechEvent::Kind;

constexpr int samplingRate = 22050;
constexpr std::size_t bufferSize = 441;
const AudioEffects lateEffects{1.5F, {{1.25F, 0.5F, 0.1F}}, true};

/// An utterance of a buzz, emitted in buffers.
class ChangedUtterance : public ::testing::Test {
 protected:
  void emitBuffers(int count) {
    const Samples buffer = test::tone(300, bufferSize, samplingRate);
    for (int i = 0; i < count; ++i) {
      utterance.emitAudio(buffer.data(), buffer.size(), samplingRate);
    }
  }

  /// The number of samples before the first event of a kind.
  std::size_t samplesBefore(EventKind kind) const {
    std::size_t count = 0;
    for (const SpeechEvent& event : host.events()) {
      if (event.kind == kind) {
        break;
      }
      count += event.count;
    }
    return count;
  }

  SpeechRecorder host;
  UtteranceControl control;
  Utterance utterance{control, &host};
};

TEST_F(ChangedUtterance, WithoutEffectsIsPassedOnAsItIs) {
  const Samples buffer = test::tone(300, bufferSize, samplingRate);
  utterance.setEffects({});
  utterance.run([&] { utterance.emitAudio(buffer.data(), buffer.size(), samplingRate); });
  EXPECT_EQ(host.samples(), buffer);
}

TEST_F(ChangedUtterance, LosesNothingAtTheEnd) {
  utterance.setEffects(lateEffects);
  utterance.run([&] { emitBuffers(50); });
  EXPECT_EQ(host.samples().size(), 50 * bufferSize + samplingRate / 10);
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::finished));
}

TEST_F(ChangedUtterance, CountsTheSynthesisersSamples) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    emitBuffers(3);
    EXPECT_EQ(utterance.samplesEmitted(), 3 * bufferSize);
  });
}

TEST_F(ChangedUtterance, EmitsAMarkBetweenItsSamples) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    emitBuffers(20);
    utterance.emitMark(7, utterance.samplesEmitted());
    emitBuffers(20);
  });
  ASSERT_EQ(host.events(EventKind::mark).size(), 1U);
  EXPECT_EQ(host.events(EventKind::mark)[0].number, 7);
  EXPECT_EQ(host.events(EventKind::mark)[0].word.samplePosition, 20 * bufferSize);
  EXPECT_EQ(samplesBefore(EventKind::mark), 20 * bufferSize);
}

TEST_F(ChangedUtterance, EmitsAWordBeforeItsSamples) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    emitBuffers(20);
    utterance.emitWord({4, 5, utterance.samplesEmitted() + 100});
    emitBuffers(20);
  });
  ASSERT_EQ(host.events(EventKind::word).size(), 1U);
  EXPECT_EQ(host.events(EventKind::word)[0].word.textOffset, 4U);
  EXPECT_EQ(samplesBefore(EventKind::word), 20 * bufferSize + 100);
}

TEST_F(ChangedUtterance, EmitsEventsInTheOrderOfTheirPositions) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    emitBuffers(20);
    const std::uint64_t told = utterance.samplesEmitted();
    utterance.emitWord({0, 1, told + 300});
    utterance.emitMark(1, told + 100);
    utterance.emitMark(2, told + 100);
    emitBuffers(20);
  });
  EXPECT_EQ(host.events(EventKind::mark)[0].number, 1);
  EXPECT_EQ(host.events(EventKind::mark)[1].number, 2);
  EXPECT_EQ(samplesBefore(EventKind::mark), 20 * bufferSize + 100);
  EXPECT_EQ(samplesBefore(EventKind::word), 20 * bufferSize + 300);
}

TEST_F(ChangedUtterance, WithoutAudioEmitsEventsAtOnce) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    utterance.emitWord({0, 1, 300});
    EXPECT_EQ(host.events(EventKind::word).size(), 1U);
    utterance.emitMark(1, 5000);
    EXPECT_EQ(host.events(EventKind::mark).size(), 1U);
  });
}

TEST_F(ChangedUtterance, EmitsEventsAfterTheLastSample) {
  utterance.setEffects({1, {}, true});
  utterance.run([&] {
    emitBuffers(2);
    utterance.emitMark(1, 100000);
  });
  EXPECT_EQ(host.events(EventKind::mark).size(), 1U);
}

TEST_F(ChangedUtterance, EmitsAMarkAtTheVeryEnd) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    emitBuffers(20);
    utterance.emitMark(7, utterance.samplesEmitted());
  });
  EXPECT_EQ(samplesBefore(EventKind::mark), 20 * bufferSize);
}

TEST_F(ChangedUtterance, StoppedOneEmitsNothingThatWasDelayed) {
  utterance.setEffects(lateEffects);
  utterance.run([&] {
    emitBuffers(20);
    control.stop();
    utterance.emitMark(7, 0);
  });
  const std::size_t heard = host.samples().size();
  EXPECT_LT(heard, 20 * bufferSize);
  EXPECT_TRUE(host.events(EventKind::mark).empty());
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(ChangedUtterance, StopDuringTheRestEndsIt) {
  utterance.setEffects(lateEffects);
  bool allIsSpoken = false;
  host.atAudio = [&] {
    if (allIsSpoken) {
      control.stop();
    }
    return true;
  };
  utterance.run([&] {
    emitBuffers(20);
    utterance.emitMark(7, utterance.samplesEmitted());
    allIsSpoken = true;
  });
  EXPECT_TRUE(host.events(EventKind::mark).empty());
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(ChangedUtterance, RefusingHostEndsIt) {
  utterance.setEffects(lateEffects);
  host.atAudio = [] { return false; };
  utterance.run([&] { emitBuffers(50); });
  EXPECT_EQ(host.events(EventKind::audio).size(), 1U);
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::stopped));
}

TEST_F(ChangedUtterance, FailingHostEndsIt) {
  utterance.setEffects(lateEffects);
  host.atAudio = []() -> bool { throw std::runtime_error("no more"); };
  EXPECT_THROW(utterance.run([&] { emitBuffers(50); }), std::runtime_error);
  EXPECT_EQ(host.events(EventKind::audio).size(), 1U);
  EXPECT_THAT(host.ends(), ElementsAre(SpeechEnd::failed));
}

TEST_F(ChangedUtterance, FailedSynthesisIsNotPlayedOut) {
  utterance.setEffects(lateEffects);
  EXPECT_THROW(utterance.run([&] {
    emitBuffers(20);
    throw std::runtime_error("cannot speak");
  }),
               std::runtime_error);
  EXPECT_LT(host.samples().size(), 20 * bufferSize);
}

TEST_F(ChangedUtterance, PauseHoldsDelayedAudio) {
  utterance.setEffects({1, {{1.5F, 1, 0.5F}}, false});
  test::Latch spoken;
  std::thread speech([&] {
    utterance.run([&] {
      emitBuffers(20);
      control.pause();
      spoken.open();
    });
  });
  ASSERT_TRUE(spoken.wait());
  const std::size_t heard = host.samples().size();
  EXPECT_TRUE(host.ends().empty());
  control.resume();
  speech.join();
  EXPECT_LT(heard, 20 * bufferSize + samplingRate / 2);
  EXPECT_EQ(host.samples().size(), 20 * bufferSize + samplingRate / 2);
}

}  // namespace
