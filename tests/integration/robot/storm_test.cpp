#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <kq/error.hpp>
#include <random>
#include <thread>

#include "robot/robot.hpp"
#include "support/environment.hpp"

namespace {

using Clock = std::chrono::steady_clock;

/// The duration of each storm: KQTTS_STORM_SECONDS, or else short enough for every change.
Clock::duration stormTime() {
  const char* wanted = std::getenv("KQTTS_STORM_SECONDS");
  return std::chrono::milliseconds(wanted == nullptr ? 2000 : 1000 * std::atol(wanted));
}

/// Counts utterances, and events that do not belong to the utterance of the thread that emits them.
class StrictHost : public TextToSpeechEngineCallbackInterface {
 public:
  void onStart() override {
    ++starts;
    std::thread::id nobody;
    if (!speaker.compare_exchange_strong(nobody, std::this_thread::get_id())) {
      ++misplaced;
    }
  }
  bool onAudio(const std::int16_t* /*samples*/, std::size_t /*count*/, int /*rate*/) override {
    ++buffers;
    lookAtSpeaker();
    return true;
  }
  void onMark(int /*number*/, std::uint64_t /*samplePosition*/) override { lookAtSpeaker(); }
  void onWord(const SpeechWord& /*word*/) override { lookAtSpeaker(); }
  void onEnd(SpeechEnd end) override {
    ++ends;
    if (end == SpeechEnd::failed) {
      ++failures;
    }
    lookAtSpeaker();
    speaker = std::thread::id();
  }

  std::atomic<std::uint64_t> starts{0};
  std::atomic<std::uint64_t> ends{0};
  std::atomic<std::uint64_t> failures{0};
  std::atomic<std::uint64_t> buffers{0};
  std::atomic<std::uint64_t> misplaced{0};

 private:
  void lookAtSpeaker() {
    if (speaker != std::this_thread::get_id()) {
      ++misplaced;
    }
  }

  std::atomic<std::thread::id> speaker{std::thread::id()};
};

/// Eight threads that call every operation that a robot's software may call.
class Storm : public ::testing::Test {
 protected:
  using Random = std::minstd_rand;
  using Action = void (Storm::*)(Random& random);

  template <typename Container>
  static const auto& any(const Container& container, Random& random) {
    return *std::next(container.begin(), static_cast<long>(random() % container.size()));
  }

  void initialize() {
    ASSERT_TRUE(manager.initialize(installed.packages()));
    languages = manager.getAvailableLanguages();
    voices = manager.getAllAvailableVoices();
    for (const auto& [language, voice] : std::map<std::string, const char*>{
             {"English", "Flite"}, {"French", "eSpeak NG"}, {"Turkish", "Log"}}) {
      ASSERT_EQ(manager.xGetEngine(language)->getName(), voice);
    }
  }

  // Actions that do not wait for an utterance.

  void stop(Random& /*random*/) { manager.stopSynthetizer(); }
  void hold(Random& /*random*/) {
    manager.pauseSynthetizer();
    manager.restartSynthetizer();
  }
  void ask(Random& random) {
    manager.isPaused();
    manager.isInitialized();
    manager.getName();
    manager.getCurrentLanguage();
    manager.getCurrentVoice();
    manager.getAvailableLanguages();
    manager.getDefaultVoiceForLanguage(any(languages, random));
    manager.getVoiceInstallDir(any(voices, random).first);
    manager.getCurrentSamplingRate();
    manager.getAvailableParameters();
    manager.getOldLanguagesDetected();
  }
  void askForVoices(Random& random) {
    manager.getAvailableVoices();
    manager.getAllAvailableVoices();
    manager.getLanguage(any(voices, random).first);
    manager.testTextEncoding("hello", any(languages, random));
  }
  void filter(Random& random) { manager.enableFilter(random() % 2 == 0); }

  // Actions that wait for an utterance.

  void speak(Random& random) {
    static const std::vector<std::string> texts{
        "Hello!", "One \\mrk=1\\ two, \\RSPD=200\\ three. \\Pau=50\\ Four?",
        "\\VCT=150\\ Привет \\Vol=30\\ 你好 \\RST\\ bonjour", "",
        "A long sentence, in which there is time to stop it, to hold it and to let it go on."};
    manager.startSynthetizer(any(texts, random));
  }
  void chooseLanguage(Random& random) { manager.setCurrentLanguage(any(languages, random)); }
  void chooseSynthesiser(Random& random) {
    static const std::vector<std::string> oneOfEach{"English", "French", "Turkish"};
    manager.setCurrentLanguage(any(oneOfEach, random));
  }
  /// Also chooses the voice's language; another thread may choose a different one in between.
  void chooseVoice(Random& random) {
    const std::string& voice = any(voices, random).first;
    try {
      manager.setCurrentVoice(voice);
    } catch (const KQError& error) {
      const std::string text = error.getDescription();
      if (text.find("The voice " + voice + " is not installed") == std::string::npos) {
        throw;
      }
    }
  }
  void chooseDefaultVoice(Random& /*random*/) { manager.setDefaultVoice(); }
  void setParameters(Random& random) {
    manager.setParameter("speed", static_cast<float>(50 + random() % 350));
    manager.setParameter("pitchShift", 1 + static_cast<float>(random() % 3) / 2);
    manager.getParameter("speed");
    manager.resetSpeed();
  }
  void useDictionary(Random& /*random*/) {
    manager.loadDictionary();
    manager.unloadDictionary();
  }

  /// A thread that never waits for an utterance. It ends pauses that nobody else would end: a pause
  /// and the restart after it may have reached engines of different languages.
  void attend(Random& random) {
    static const std::vector<Action> actions{&Storm::stop, &Storm::hold,         &Storm::hold,
                                             &Storm::ask,  &Storm::askForVoices, &Storm::filter};
    act(actions, random);
  }

  void doAnything(Random& random) {
    static const std::vector<Action> actions{&Storm::speak,
                                             &Storm::speak,
                                             &Storm::speak,
                                             &Storm::speak,
                                             &Storm::stop,
                                             &Storm::hold,
                                             &Storm::ask,
                                             &Storm::askForVoices,
                                             &Storm::filter,
                                             &Storm::chooseLanguage,
                                             &Storm::chooseSynthesiser,
                                             &Storm::chooseVoice,
                                             &Storm::chooseDefaultVoice,
                                             &Storm::setParameters,
                                             &Storm::useDictionary};
    act(actions, random);
  }

  void act(const std::vector<Action>& actions, Random& random) {
    try {
      (this->*any(actions, random))(random);
    } catch (const KQError& error) {
      if (!isEnding) {
        ADD_FAILURE() << error.getMethod() << ": " << error.getDescription();
      }
      ++refusals;
    }
    std::this_thread::yield();
  }

  /// Runs eight threads until `last` has returned.
  void rage(unsigned int seed, const std::function<void()>& last) {
    std::atomic<bool> over{false};
    std::atomic<int> busy{7};
    std::vector<std::thread> threads;
    for (unsigned int i = 1; i <= 7; ++i) {
      threads.emplace_back([&, i] {
        for (Random random(seed * 100 + i); !over;) {
          doAnything(random);
        }
        --busy;
      });
    }
    threads.emplace_back([&] {
      for (Random random(seed * 100); busy > 0;) {
        attend(random);
      }
    });
    last();
    over = true;
    for (std::thread& thread : threads) {
      thread.join();
    }
  }

  const test::TempFolder userData;
  const test::Environment dataHome{"XDG_DATA_HOME", userData.path().string()};
  const test::PackagesForAllEngines installed;
  StrictHost host;
  test::RobotManager manager{&host};
  std::vector<std::string> languages;
  std::map<std::string, std::string> voices;
  std::atomic<bool> isEnding{false};  ///< while true, operations may be refused
  std::atomic<std::uint64_t> refusals{0};
};

TEST_F(Storm, LosesNoEndAndRefusesNothing) {
  initialize();
  rage(1, [] { std::this_thread::sleep_for(stormTime()); });
  EXPECT_GT(host.starts, 0U);
  EXPECT_GT(host.buffers, 0U);
  EXPECT_EQ(host.starts, host.ends);
  EXPECT_EQ(host.failures, 0U);
  EXPECT_EQ(host.misplaced, 0U);
  EXPECT_EQ(refusals, 0U);
  std::cout << host.starts << " utterances, " << host.buffers << " buffers of audio\n";
}

TEST_F(Storm, MayBeEndedAtAnyTime) {
  const Clock::time_point end = Clock::now() + stormTime();
  Random random(1);
  unsigned int round = 0;
  do {
    initialize();
    rage(++round, [&] {
      const std::uint64_t goal = host.buffers + random() % 300;
      while (host.buffers < goal) {
        std::this_thread::yield();
      }
      isEnding = true;
      EXPECT_TRUE(manager.terminate());
    });
    isEnding = false;
    EXPECT_EQ(host.starts, host.ends);
  } while (Clock::now() < end);
  EXPECT_EQ(host.failures, 0U);
  EXPECT_EQ(host.misplaced, 0U);
  std::cout << round << " lives, " << host.starts << " utterances, " << refusals << " refusals\n";
}

}  // namespace
