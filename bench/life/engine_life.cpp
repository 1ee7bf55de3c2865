#include "life/engine_life.hpp"

#include <malloc.h>

#include <array>
#include <boost/make_shared.hpp>
#include <cstddef>
#include <fstream>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

/// Counts every page: the kernel's quick figures, such as statm, can miss 32 pages per processor.
double residentNow() {
  std::ifstream figures("/proc/self/smaps_rollup");
  std::string word;
  double kibibytes = 0;
  while (figures >> word && word != "Rss:") {
  }
  if (!(figures >> kibibytes)) {
    throw std::runtime_error("smaps_rollup does not tell what is resident");
  }
  return 1024 * kibibytes;
}

Memory memoryNow() {
  return {static_cast<double>(::mallinfo2().uordblks) + static_cast<double>(::mallinfo2().hblkhd),
          residentNow()};
}

/// A manager with one engine, and a host that receives the audio.
class Life {
 public:
  explicit Life(const LivingEngine& engine) : living(engine) {}

  void begin() {
    if (!manager.initialize({{"", "", living.package}})) {
      throw std::runtime_error(living.plugin + " cannot be used");
    }
    manager.setCurrentVoice(living.voice);
  }

  void speak(int number) {
    static const std::array<const char*, 4> texts{"Hello.", "Yes, \\mrk=1\\ I do.", "Good bye!",
                                                  "\\RSPD=200\\ Number two?"};
    manager.startSynthetizer(texts.at(static_cast<std::size_t>(number) % texts.size()));
  }

  void end() { manager.terminate(); }

 private:
  const LivingEngine living;
  TextToSpeechEngineCallbackInterface host;
  KQ::TextToSpeechManager manager{&host, boost::make_shared<KQ::TTSLanguageInfo>()};
};

/// Runs a step `late` times, and measures the memory after `early` steps and at the end.
template <typename Step>
Growth growthOver(int early, int late, Step step) {
  memoryNow();  // the first call allocates memory of its own
  Growth growth{};
  for (int i = 1; i <= late; ++i) {
    step(i);
    if (i == early) {
      growth.early = memoryNow();
    }
  }
  growth.late = memoryNow();
  return growth;
}

}  // namespace

std::vector<LivingEngine> livingEngines(const std::string& data) {
  return {{"nuance", data + "/optional-packages/espeak-ng-english", "english-male"},
          {"aitalk", data + "/packages/english", "english-kal16"},
          {"log", data + "/optional-packages/log-english", "english-log"}};
}

Growth growthOverUtterances(const LivingEngine& engine, int early, int late) {
  Life life(engine);
  life.begin();
  const Growth growth = growthOver(early, late, [&](int number) { life.speak(number); });
  life.end();
  return growth;
}

Growth growthOverLives(const LivingEngine& engine, int early, int late) {
  Life life(engine);
  return growthOver(early, late, [&](int number) {
    life.begin();
    life.speak(number);
    life.end();
  });
}

}  // namespace bench
