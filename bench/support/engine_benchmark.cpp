#include "support/engine_benchmark.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "support/benchmark_setup.hpp"
#include "support/dictionary_folder.hpp"
#include "support/peak_memory.hpp"
#include "support/ratio_table.hpp"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

/// Returns a time in microseconds.
using Measure = std::function<double(Speaker&, const std::string& text)>;

double since(Clock::time_point begin) {
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

// Texts ----------------------------------------------------------------------------------------

const Markup& engineMarkup() {
  static const Markup markup{"", "\\mrk=1\\", "\\vol=80\\", "\\rst\\", ""};
  return markup;
}

std::string words(int count, const Markup& markup) {
  static const std::array<const char*, 12> some{"The",  "quick", "brown", "fox",  "jumps", "over",
                                                "lazy", "dogs",  "and",   "runs", "right", "away."};
  std::string text = markup.begin;
  for (int i = 0; i < count; ++i) {
    if (i % 10 == 0) {
      text += markup.mark;
    } else if (i % 10 == 5) {
      text += markup.quieter;
    }
    text += some.at(static_cast<std::size_t>(i) % some.size());
    text += i % 10 == 9 ? markup.normal + ' ' : " ";
  }
  return text + markup.end;
}

// What is measured -----------------------------------------------------------------------------

double firstAudio(Speaker& speaker, const std::string& text) {
  double time = 0;
  const Clock::time_point begin = Clock::now();
  speaker.speak(text, [&] {
    time = since(begin);
    return false;
  });
  return time;
}

double synthesis(Speaker& speaker, const std::string& text) {
  const Clock::time_point begin = Clock::now();
  speaker.speak(text, [] { return true; });
  return since(begin);
}

/// The time from a stop to the return of the call that speaks. The stop comes at a random moment.
/// \param latest  the latest moment, in microseconds after the first audio
double stopToReturn(Speaker& speaker, const std::string& text, int latest) {
  static std::minstd_rand random(1);
  std::uniform_int_distribution<int> moment(0, latest);
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
  return std::chrono::duration<double, std::micro>(returned - begin).count();
}

// Comparison -----------------------------------------------------------------------------------

/// Compares figures of an engine with those of its bare synthesiser. Each figure is a quantile of
/// many measurements, which alternate between the two.
class Comparison {
 public:
  explicit Comparison(const EngineUnderTest& engine)
      : makeBare(engine.makeBareSpeaker),
        makeEngine([package = engine.package] { return makeEngineSpeaker(package); }),
        makeEngineWithDictionary(
            [package = engine.package] { return makeEngineSpeaker(package, true); }) {}

  struct Limit {
    const char* figure;
    double quantile;
    double atMost;
  };

  /// Measures both `times` times in each of the repetitions.
  void add(const std::string& textName, const std::string& bareText, const std::string& engineText,
           const Measure& measure, int times, const std::vector<Limit>& limits) {
    const std::string name = std::string(limits.front().figure) + ", " + textName;
    enlist(name + ": bare", makeBare, bareText, measure, times);
    enlist(name + ": engine", makeEngine, engineText, measure, times);
    for (const Limit& limit : limits) {
      rows.push_back({limit, textName, name + ": bare", name + ": engine"});
    }
  }

  /// Compares the first audio of a text with that of a text of 500 words, both through the engine.
  void addText(const std::string& textName, const std::string& text, int times, double atMost) {
    addBesideText(textName, makeEngine, text, times, atMost);
  }

  /// The same with a user's dictionary; the text of 500 words is spoken without one.
  void addTextWithDictionary(const std::string& textName, const std::string& text, int times,
                             double atMost) {
    addBesideText(textName + " with a dictionary", makeEngineWithDictionary, text, times, atMost);
  }

  /// Prints a row for each figure that was measured.
  void print(RatioTable& table) const {
    for (const Row& row : rows) {
      const auto bare = measured.find(row.yardstick);
      const auto engine = measured.find(row.subject);
      if (bare != measured.end() && engine != measured.end()) {
        const double yardstick = quantile(bare->second, row.limit.quantile);
        const double subject = quantile(engine->second, row.limit.quantile);
        table.add(
            {figureName(row.limit), row.textName, microseconds(yardstick), microseconds(subject)},
            row.limit.atMost, subject / yardstick);
      }
    }
  }

 private:
  using Times = std::vector<double>;

  struct Row {
    Limit limit;
    std::string textName;
    std::string yardstick;  ///< the benchmark's name
    std::string subject;    ///< the benchmark's name
  };

  void addBesideText(const std::string& textName, const std::function<SpeakerPointer()>& make,
                     const std::string& text, int times, double atMost) {
    const Limit limit{"first audio", 0.5, atMost};
    const std::string name = std::string(limit.figure) + ", " + textName + ": engine";
    enlist(name, make, text, firstAudio, times);
    rows.push_back({limit, textName + " beside 500 words", "first audio, 500 words: engine", name});
  }

  void enlist(const std::string& name, const std::function<SpeakerPointer()>& make,
              const std::string& text, const Measure& measure, int times) {
    const auto run = [=](benchmark::State& state) {
      const SpeakerPointer speaker = make();
      firstAudio(*speaker, "Hello.");  // loads the voice
      for (auto _ : state) {
        const double time = measure(*speaker, text);
        measured[name].push_back(time);
        state.SetIterationTime(time / 1e6);
      }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseManualTime()
        ->Iterations(times)
        ->Unit(benchmark::kMicrosecond);
  }

  static double quantile(Times times, double part) {
    const auto place =
        times.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(times.size() - 1));
    std::nth_element(times.begin(), place, times.end());
    return *place;
  }

  static std::string figureName(const Limit& limit) {
    return limit.figure + std::string(limit.quantile == 0.5 ? "" : ", 99 %");
  }

  static std::string microseconds(double time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.0f µs", time);
    return text.data();
  }

  std::function<SpeakerPointer()> makeBare;
  std::function<SpeakerPointer()> makeEngine;
  std::function<SpeakerPointer()> makeEngineWithDictionary;
  std::vector<Row> rows;
  std::map<std::string, Times> measured;  ///< in microseconds, by the benchmark's name
};

void addFigures(Comparison& comparison, const EngineUnderTest& engine) {
  const int some = engine.firstAudios;
  const auto add = [&](const std::string& textName, int count, bool isTagged,
                       const Measure& measure, int times,
                       const std::vector<Comparison::Limit>& limits) {
    comparison.add(textName, words(count, isTagged ? engine.bareMarkup : Markup()),
                   words(count, isTagged ? engineMarkup() : Markup()), measure, times, limits);
  };
  add("12 words", 12, false, firstAudio, some, {{"first audio", 0.5, 1.10}});
  add("12 words with tags", 12, true, firstAudio, some, {{"first audio", 0.5, 1.10}});
  add("500 words", 500, false, firstAudio, some, {{"first audio", 0.5, 1.03}});
  add("500 words with tags", 500, true, firstAudio, some, {{"first audio", 0.5, 1.03}});
  constexpr int tenMegabytes = 2000000;
  comparison.addText("10 MB", words(tenMegabytes, {}), some, 1.1);
  comparison.addText("10 MB with tags", words(tenMegabytes, engineMarkup()), some, 0);
  comparison.addTextWithDictionary("500 words", words(500, {}), some, 0);
  comparison.addTextWithDictionary("10 MB", words(tenMegabytes, {}), some, 1.1);
  add("500 words", 500, false, synthesis, 1, {{"synthesis", 0.5, 1.02}});
  add("500 words with tags", 500, true, synthesis, 1, {{"synthesis", 0.5, 1.02}});
  const std::vector<Comparison::Limit> stops{{"stop to return", 0.5, 1.3},
                                             {"stop to return", 0.99, 1.5}};
  const Measure stop = [latest = engine.latestStop](Speaker& speaker, const std::string& text) {
    return stopToReturn(speaker, text, latest);
  };
  const std::string moments = "at " + std::to_string(engine.stops) + " random moments";
  const int times = engine.stops / engine.repetitions;
  add(moments, 100000, false, stop, times, stops);
  add(moments + ", with tags", 100000, true, stop, times, stops);
}

// Memory ---------------------------------------------------------------------------------------

void printPeak(const std::string& what, const EngineUnderTest& engine) {
  const SpeakerPointer speaker = what == "engine" ? makeEngineSpeaker(engine.package)
                                 : what == "bare" ? engine.makeBareSpeaker()
                                                  : nullptr;
  if (speaker) {
    speaker->speak(words(500, {}), [] { return true; });
  }
  std::printf("%.0f\n", peakMemory());
}

void compareMemory(RatioTable& table) {
  const auto text = [](double peak) { return std::to_string(static_cast<int>(peak)) + " KiB"; };
  const double empty = peakMemoryOf("nothing");
  const double bare = peakMemoryOf("bare");
  const double engine = peakMemoryOf("engine");
  table.add({"peak memory", "500 words beside an empty program", text(empty), text(engine)}, 1.35,
            engine / empty);
  table.add({"peak memory", "500 words", text(bare), text(engine)}, 0, engine / bare);
}

}  // namespace

int runEngineBenchmark(int argc, char** argv, const EngineUnderTest& engine) {
  if (argc == 3 && std::string(argv[1]) == "--memory-of") {
    printPeak(argv[2], engine);
    return 0;
  }
  const DictionaryFolder dictionaries;
  initialize(argc, argv,
             {"--benchmark_repetitions=" + std::to_string(engine.repetitions),
              "--benchmark_report_aggregates_only=true"});

  Comparison comparison(engine);
  addFigures(comparison, engine);
  benchmark::RunSpecifiedBenchmarks();
  RatioTable table({"figure", "text", "bare", "engine"}, RatioTable::Limit::atMost);
  comparison.print(table);
  compareMemory(table);
  return table.isReached() ? 0 : 1;
}

}  // namespace bench
