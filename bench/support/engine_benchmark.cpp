// What the way through manager, plug-in and engine costs, beside the bare synthesiser. Both speak in
// turns in the same process; each figure is printed with its ratio.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "speaker.hpp"

namespace {

using bench::Clock;
using bench::Speaker;
using Times = std::vector<double>;

using Measure = void (*)(Speaker& speaker, Times& microseconds);

double since(Clock::time_point begin) {
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

double quantile(Times times, double part) {
  const auto place =
      times.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(times.size() - 1));
  std::nth_element(times.begin(), place, times.end());
  return *place;
}

std::string words(int count) {
  static const std::array<const char*, 12> some{"The",  "quick", "brown", "fox",  "jumps", "over",
                                                "lazy", "dogs",  "and",   "runs", "right", "away."};
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += std::string(some.at(static_cast<std::size_t>(i) % some.size())) + ' ';
  }
  return text;
}

double firstAudio(Speaker& speaker, const std::string& text) {
  double time = 0;
  const Clock::time_point begin = Clock::now();
  speaker.speak(text, [&] {
    time = since(begin);
    return false;
  });
  return time;
}

void firstAudioOf12Words(Speaker& speaker, Times& times) {
  static const std::string text = words(12);
  for (int i = 0; i < 200; ++i) {
    times.push_back(firstAudio(speaker, text));
  }
}

void firstAudioOf500Words(Speaker& speaker, Times& times) {
  static const std::string text = words(500);
  for (int i = 0; i < 200; ++i) {
    times.push_back(firstAudio(speaker, text));
  }
}

void synthesisOf500Words(Speaker& speaker, Times& times) {
  static const std::string text = words(500);
  for (int i = 0; i < 3; ++i) {
    const Clock::time_point begin = Clock::now();
    speaker.speak(text, [] { return true; });
    times.push_back(since(begin));
  }
}

/// From the stop to the end of the call that speaks, at random moments.
void stopToReturn(Speaker& speaker, Times& times) {
  static const std::string text = words(100000);
  static std::minstd_rand random(1);
  std::uniform_int_distribution<int> moment(0, 20000);
  for (int i = 0; i < 100; ++i) {
    std::atomic<bool> heard{false};
    Clock::time_point returned;
    std::thread speech([&] {
      speaker.speak(text, [&] {
        heard = true;
        return true;
      });
      returned = Clock::now();
    });
    while (!heard) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    const Clock::time_point begin = Clock::now();
    speaker.stop();
    speech.join();
    times.push_back(std::chrono::duration<double, std::micro>(returned - begin).count());
  }
}

struct Row {
  const char* name;
  Measure measure;
  double part;    ///< the quantile that is compared
  double target;  ///< the ratio at most
};

const std::array<Row, 5> rows{{{"first audio, 12 words", firstAudioOf12Words, 0.5, 1.10},
                               {"first audio, 500 words", firstAudioOf500Words, 0.5, 1.03},
                               {"synthesis, 500 words", synthesisOf500Words, 0.5, 1.02},
                               {"stop to return, median", stopToReturn, 0.5, 1.3},
                               {"stop to return, 99 %", stopToReturn, 0.99, 1.5}}};

void print(const std::string& name, const char* unit, double bare, double engine, double target) {
  std::printf("%-24s %12.1f %12.1f %s  ratio %.3f  (at most %.2f)\n", name.c_str(), bare, engine,
              unit, engine / bare, target);
}

void compareTimes(const Row& row) {
  constexpr int turns = 10;
  Times bare;
  Times engine;
  for (int turn = 0; turn < turns; ++turn) {
    row.measure(*bench::makeBareSpeaker(), bare);
    row.measure(*bench::makeEngineSpeaker(), engine);
  }
  print(row.name, "us", quantile(bare, row.part), quantile(engine, row.part), row.target);
}

/// The peak of this process's memory, in KiB.
double peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string key; status >> key;) {
    if (key == "VmHWM:") {
      double peak = 0;
      status >> peak;
      return peak;
    }
  }
  return 0;
}

/// The peak of a new process of this program that does `what`.
double peakMemoryOf(const std::string& program, const std::string& what) {
  const std::string command = "'" + program + "' --memory-of " + what;
  FILE* const output = ::popen(command.c_str(), "r");
  double peak = 0;
  if (output == nullptr || std::fscanf(output, "%lf", &peak) != 1) {
    std::fprintf(stderr, "cannot measure the memory of \"%s\"\n", what.c_str());
  }
  if (output != nullptr) {
    ::pclose(output);
  }
  return peak;
}

int printMemoryOf(const std::string& what) {
  if (what == "speech") {
    bench::makeEngineSpeaker()->speak(words(500), [] { return true; });
  }
  std::printf("%.0f\n", peakMemory());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--memory-of") {
    return printMemoryOf(argv[2]);
  }
  std::printf("%-24s %12s %12s\n", "", "bare", "engine");
  for (const Row& row : rows) {
    compareTimes(row);
  }
  print("peak memory", "KiB", peakMemoryOf(argv[0], "nothing"), peakMemoryOf(argv[0], "speech"),
        1.35);
  return 0;
}
