// Compares the speaker with the manager below it: the time to the first audio, the time in which a
// stop takes effect, and what an utterance that waits costs.

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <boost/make_shared.hpp>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <kq/speech_callback.hpp>
#include <kqtts/speaker.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <random>
#include <string>
#include <thread>
#include <vector>
#include <zu/log.hpp>
#include <zu/path.hpp>

#include "support/ratio_table.hpp"

namespace {

using Clock = std::chrono::steady_clock;

struct Spoken {
  const char* language;
  const char* words;  ///< twelve
};
constexpr Spoken spokenRows[] = {
    {"English", "The quick brown robot walks over the small bridge to its friend."},
    {"French", "Le petit robot brun marche sur le pont vers son bon ami."}};

double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

double quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1))];
}

/// Hears audio until it is told otherwise. May be asked from any thread.
struct Ear {
  bool take() {
    if (!hasHeard.exchange(true)) {
      heardAt = Clock::now();
    }
    return !wantsFirstOnly;
  }

  std::atomic<bool> hasHeard{false};
  Clock::time_point heardAt;
  bool wantsFirstOnly = true;
};

struct ManagersEar : TextToSpeechEngineCallbackInterface, Ear {
  bool onAudio(const std::int16_t* /*samples*/, std::size_t /*count*/, int /*rate*/) override {
    return take();
  }
};

struct SpeakersEar : KQ::SpeechListener, Ear {
  bool onAudio(const KQ::Utterance& /*utterance*/, const KQ::SpeechAudio& /*audio*/) override {
    return take();
  }
  bool wantsPhonemes() const override { return false; }
};

/// A manager and a speaker with the same packages.
struct Pair {
  explicit Pair(const Spoken& row)
      : text(row.words), manager(&managersEar, boost::make_shared<KQ::TTSLanguageInfo>()) {
    KQ::SpeakerSettings settings;
    settings.packages = KQ::packagesIn({BUILT_PACKAGES});
    settings.language = row.language;
    settings.listener = speakersEar;
    manager.initialize(settings.packages);
    manager.setCurrentLanguage(row.language);
    speaker = std::make_unique<KQ::Speaker>(settings);
  }

  double managersStart() {
    managersEar.hasHeard = false;
    const auto begin = Clock::now();
    manager.startSynthetizer(text);
    return std::chrono::duration<double>(managersEar.heardAt - begin).count();
  }

  double speakersStart() {
    speakersEar->hasHeard = false;
    const auto begin = Clock::now();
    speaker->speak(text).wait();
    return std::chrono::duration<double>(speakersEar->heardAt - begin).count();
  }

  /// From a stop to the return of the start, at a moment of the speech.
  double managersStop(std::chrono::microseconds moment) {
    std::thread speaking([&] { manager.startSynthetizer(text); });
    while (!managersEar.hasHeard) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(moment);
    const auto begin = Clock::now();
    manager.stopSynthetizer();
    speaking.join();
    return secondsSince(begin);
  }

  double speakersStop(std::chrono::microseconds moment) {
    const KQ::Utterance utterance = speaker->speak(text);
    while (!speakersEar->hasHeard) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(moment);
    const auto begin = Clock::now();
    utterance.stop();
    utterance.wait();
    return secondsSince(begin);
  }

  std::string text;
  ManagersEar managersEar;
  std::shared_ptr<SpeakersEar> speakersEar = std::make_shared<SpeakersEar>();
  KQ::TextToSpeechManager manager;
  std::unique_ptr<KQ::Speaker> speaker;
};

void measureStarts(RatioTable& table) {
  constexpr int rounds = 300;
  for (const Spoken& row : spokenRows) {
    Pair pair(row);
    std::vector<double> managers;
    std::vector<double> speakers;
    for (int i = 0; i < rounds; ++i) {
      managers.push_back(pair.managersStart());
      speakers.push_back(pair.speakersStart());
    }
    table.add({"first audio", row.language}, 1.1,
              quantile(speakers, 0.5) / quantile(managers, 0.5));
  }
}

void measureStops(RatioTable& table) {
  constexpr int rounds = 1000;
  for (const Spoken& row : spokenRows) {
    Pair pair(row);
    pair.text = std::string();
    for (int i = 0; i < 40; ++i) {
      pair.text += std::string(row.words) + " ";
    }
    pair.managersEar.wantsFirstOnly = false;
    pair.speakersEar->wantsFirstOnly = false;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> moments(0, 2000);
    std::vector<double> managers;
    std::vector<double> speakers;
    for (int i = 0; i < rounds; ++i) {
      const std::chrono::microseconds moment(moments(random));
      pair.managersEar.hasHeard = false;
      managers.push_back(pair.managersStop(moment));
      pair.speakersEar->hasHeard = false;
      speakers.push_back(pair.speakersStop(moment));
    }
    table.add({"stop, 99th percentile", row.language}, 1.3,
              quantile(speakers, 0.99) / quantile(managers, 0.99));
  }
}

struct Queue {
  double seconds;
  double bytes;  ///< for each utterance, beyond its text
};

Queue queueOf(std::size_t count) {
  KQ::Speaker speaker(KQ::SpeakerSettings{});
  speaker.pause();
  const std::string text(64, 'x');
  const double before = static_cast<double>(mallinfo2().uordblks);
  const auto begin = Clock::now();
  for (std::size_t i = 0; i < count; ++i) {
    speaker.speak(text);
  }
  const double added = static_cast<double>(mallinfo2().uordblks) - before;
  speaker.stopAll();
  speaker.waitUntilSilent(std::chrono::seconds(60));
  const double each = added / static_cast<double>(count) - static_cast<double>(text.size());
  return {secondsSince(begin), each};
}

void measureQueue(RatioTable& table) {
  constexpr std::size_t many = 100000;
  queueOf(many);
  const Queue half = queueOf(many / 2);
  const Queue whole = queueOf(many);
  table.add({"queue of 100,000, time to that of 50,000", "2 is linear"}, 2.4,
            whole.seconds / half.seconds);
  table.add(
      {"queue of 100,000, memory of each to 300 bytes", std::to_string(std::lround(whole.bytes))},
      1, whole.bytes / 300);
}

}  // namespace

int main() {
  zu::log::setLevel(zu::log::Level::error);
  zu::path::addLibDir(BUILT_LIBRARIES);
  RatioTable table({"Measured", "With"}, RatioTable::Limit::atMost);
  measureStarts(table);
  measureStops(table);
  measureQueue(table);
  return table.isReached() ? 0 : 1;
}
