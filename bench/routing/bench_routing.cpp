// Measures the cost of calls through the manager. Each figure is a ratio to a yardstick of the same
// run. Both are the processor time of the fastest of many repetitions, which alternate.

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdio>
#include <future>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>
#include <zu/log.hpp>
#include <zu/path.hpp>

#include "support/benchmark_setup.hpp"

namespace {

using benchmark::State;
using Packages = std::vector<zu::PackageInfo>;

constexpr const char* pluginFile = PLUGIN_FOLDER "/kqtts/libkqtts-nuance.so";

// Yardsticks -----------------------------------------------------------------------------------

/// Takes the place of an engine. Calling it is the least that a routed call must do.
class Target {
 public:
  virtual ~Target() = default;
  virtual float get(const std::string& name) const = 0;
};

class FloatTarget : public Target {
 public:
  float get(const std::string& name) const override { return name.empty() ? 0 : 100; }
};

/// Tables as large as a manager's.
struct Tables {
  Tables() {
    for (const std::string& language : KQ::TTSLanguageInfo().getLanguages()) {
      names[language] = "nuance";
    }
    for (const char* name : {"aitalk", "log", "nuance"}) {
      targets[name] = boost::make_shared<FloatTarget>();
    }
  }

  boost::mutex mutex;
  std::map<std::string, std::string> names;
  std::map<std::string, boost::shared_ptr<Target>> targets;
};

float routeBarely(Tables& tables, const std::string& language, const std::string& parameter) {
  const boost::mutex::scoped_lock lock(tables.mutex);
  const auto name = tables.names.find(language);
  const boost::shared_ptr<Target> target = tables.targets.find(name->second)->second;
  return target->get(parameter);
}

void yardstickRoute(State& state) {
  Tables tables;
  const std::string language = "French";
  const std::string parameter = "speed";
  for (auto _ : state) {
    benchmark::DoNotOptimize(routeBarely(tables, language, parameter));
  }
}
BENCHMARK(yardstickRoute);

[[gnu::noinline]] KQError refusal(const std::string& language) {
  return {"TextToSpeechManager", "xGetDefaultVoiceForLanguage",
          "No engine found for " + language + " language", nullptr, 0};
}

/// An error passes through at least one function, the refused operation. This one has nothing to
/// release.
[[noreturn, gnu::noinline]] void refuse(const std::string& language) {
  throw refusal(language);
}

void yardstickRouteAndThrow(State& state) {
  Tables tables;
  const std::string language = "French";
  const std::string parameter = "speed";
  for (auto _ : state) {
    benchmark::DoNotOptimize(routeBarely(tables, language, parameter));
    try {
      refuse(language);
    } catch (const KQError& error) {
      benchmark::DoNotOptimize(error.what());
    }
  }
}
BENCHMARK(yardstickRouteAndThrow);

void yardstickOpenAndClose(State& state) {
  for (auto _ : state) {
    dlclose(dlopen(pluginFile, RTLD_NOW | RTLD_LOCAL));
  }
}
BENCHMARK(yardstickOpenAndClose);

// Routed calls ---------------------------------------------------------------------------------

/// One package for each language, with one voice.
Packages packagesOfAllLanguages() {
  Packages packages;
  for (const std::string& language : KQ::TTSLanguageInfo().getLanguages()) {
    packages.push_back({"nuance", "voice of " + language, language});
  }
  return packages;
}

/// A manager with the three plug-ins and all languages, which speaks French.
class Manager : public KQ::TextToSpeechManager {
 public:
  explicit Manager(TextToSpeechEngineCallbackInterface* host = nullptr)
      : TextToSpeechManager(host, boost::make_shared<KQ::TTSLanguageInfo>()) {
    initialize(packagesOfAllLanguages());
    setCurrentLanguage("French");
  }
};

void getParameter(State& state) {
  const Manager manager;
  const std::string parameter = "speed";
  for (auto _ : state) {
    benchmark::DoNotOptimize(manager.getParameter(parameter));
  }
}
BENCHMARK(getParameter);

void setParameter(State& state) {
  Manager manager;
  const std::string parameter = "speed";
  for (auto _ : state) {
    manager.setParameter(parameter, 90.0F);
  }
}
BENCHMARK(setParameter);

/// A host whose engine is speaking for as long as this object lives.
class RunningStart : TextToSpeechEngineCallbackInterface {
 public:
  RunningStart() { started.get_future().wait(); }
  ~RunningStart() override {
    released.set_value();
    speaker.join();
  }

  Manager manager{this};

 private:
  void onStart() override {
    started.set_value();
    released.get_future().wait();
  }

  std::promise<void> started;
  std::promise<void> released;
  std::thread speaker{[this] { manager.startSynthetizer("hello"); }};
};

void stopDuringStart(State& state) {
  RunningStart start;
  for (auto _ : state) {
    start.manager.stopSynthetizer();
  }
}
BENCHMARK(stopDuringStart);

/// Two routed calls in each round.
void pauseAndRestartDuringStart(State& state) {
  RunningStart start;
  for (auto _ : state) {
    start.manager.pauseSynthetizer();
    start.manager.restartSynthetizer();
  }
}
BENCHMARK(pauseAndRestartDuringStart);

// Languages that no engine serves --------------------------------------------------------------

template <typename Call>
void measureRefusal(State& state, Call call) {
  const Manager manager;
  const std::string language = "Klingon";
  for (auto _ : state) {
    try {
      call(manager, language);
    } catch (const KQError& error) {
      benchmark::DoNotOptimize(error.what());
    }
  }
}

void engineOfUnservedLanguage(State& state) {
  measureRefusal(state, [](const Manager& manager, const std::string& language) {
    manager.xGetEngine(language);
  });
}
BENCHMARK(engineOfUnservedLanguage);

void defaultVoiceOfUnservedLanguage(State& state) {
  measureRefusal(state, [](const Manager& manager, const std::string& language) {
    manager.getDefaultVoiceForLanguage(language);
  });
}
BENCHMARK(defaultVoiceOfUnservedLanguage);

// Loading --------------------------------------------------------------------------------------

void loadAndUnload(State& state) {
  KQ::TtsPluginManager plugins;
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  for (auto _ : state) {
    KQ::TextToSpeechEngine* engine = plugins.load("nuance", nullptr, table);
    plugins.unload(&engine);
  }
}
BENCHMARK(loadAndUnload);

void managerLoadsAndUnloads(State& state) {
  const auto table = boost::make_shared<KQ::TTSLanguageInfo>();
  KQ::TextToSpeechManager manager(nullptr, table);
  for (auto _ : state) {
    manager.xLoadPlugin("nuance", {}, table);
    manager.xUnloadPlugin("nuance");
  }
}
BENCHMARK(managerLoadsAndUnloads);

// Growth ---------------------------------------------------------------------------------------

Packages packagesOf(std::int64_t count) {
  Packages packages;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    packages.push_back({"nuance", "voice" + number, "language" + number});
  }
  return packages;
}

void initializeWithLanguages(State& state) {
  const Packages packages = packagesOf(state.range(0));
  KQ::TextToSpeechManager manager(nullptr, boost::make_shared<KQ::TTSLanguageInfo>());
  for (auto _ : state) {
    manager.initialize(packages);
    manager.terminate();
  }
}
BENCHMARK(initializeWithLanguages)->Arg(1000)->Arg(10000);

void setLanguageAmongMany(State& state) {
  KQ::TextToSpeechManager manager(nullptr, boost::make_shared<KQ::TTSLanguageInfo>());
  manager.initialize(packagesOf(state.range(0)));
  const std::string language = "language" + std::to_string(state.range(0) - 1);
  for (auto _ : state) {
    manager.setCurrentLanguage(language);
  }
}
BENCHMARK(setLanguageAmongMany)->Arg(1000)->Arg(10000);

/// Switches the language with each voice.
void setVoiceAmongMany(State& state) {
  KQ::TextToSpeechManager manager(nullptr, boost::make_shared<KQ::TTSLanguageInfo>());
  manager.initialize(packagesOf(state.range(0)));
  const std::string voices[] = {"voice0", "voice" + std::to_string(state.range(0) - 1)};
  std::size_t round = 0;
  for (auto _ : state) {
    manager.setCurrentVoice(voices[++round % 2]);
  }
}
BENCHMARK(setVoiceAmongMany)->Arg(1000)->Arg(10000);

// Report ---------------------------------------------------------------------------------------

/// Prints each measurement, and keeps the fastest repetition of each.
class FastestReporter : public benchmark::ConsoleReporter {
 public:
  FastestReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        const double seconds = run.cpu_accumulated_time / static_cast<double>(run.iterations);
        const auto entry = fastest.emplace(run.benchmark_name(), seconds).first;
        entry->second = std::min(entry->second, seconds);
      }
    }
  }

  /// Prints the ratio of a measurement to `factor` times its yardstick.
  /// \return whether the ratio is within the limit
  bool compare(const char* name, const char* yardstick, double factor, double limit) const {
    const auto measured = fastest.find(name);
    const auto base = fastest.find(yardstick);
    if (measured == fastest.end() || base == fastest.end()) {
      return true;  // filtered out
    }
    const double ratio = measured->second / (factor * base->second);
    std::printf("%-32s %12.1f ns %12.1f ns   %5.2f   <= %.2f %s\n", name, measured->second * 1e9,
                factor * base->second * 1e9, ratio, limit, ratio <= limit ? "" : "  MISSED");
    return ratio <= limit;
  }

 private:
  std::map<std::string, double> fastest;
};

struct Comparison {
  const char* name;
  const char* yardstick;
  double factor;  ///< how many yardsticks one round is worth
  double limit;
};

// Ten times the size may take ten times as long, and a little longer for what exceeds the cache.
constexpr Comparison comparisons[] = {
    {"getParameter", "yardstickRoute", 1, 1.6},
    {"setParameter", "yardstickRoute", 1, 1.6},
    {"stopDuringStart", "yardstickRoute", 1, 2.5},
    {"pauseAndRestartDuringStart", "yardstickRoute", 2, 2.5},
    {"engineOfUnservedLanguage", "yardstickRouteAndThrow", 1, 1.5},
    {"defaultVoiceOfUnservedLanguage", "yardstickRouteAndThrow", 1, 1.5},
    {"loadAndUnload", "yardstickOpenAndClose", 1, 1.5},
    {"managerLoadsAndUnloads", "yardstickOpenAndClose", 1, 1.5},
    {"initializeWithLanguages/10000", "initializeWithLanguages/1000", 10, 2},
    {"setLanguageAmongMany/10000", "setLanguageAmongMany/1000", 10, 2},
    {"setVoiceAmongMany/10000", "setVoiceAmongMany/1000", 10, 2},
};

}  // namespace

int main(int argc, char** argv) {
  zu::log::setLevel(zu::log::Level::warning);
  zu::path::addLibDir(PLUGIN_FOLDER);

  bench::initialize(argc, argv, {"--benchmark_repetitions=25", "--benchmark_min_time=0.01"});
  FastestReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);

  std::printf("\n%-32s %15s %15s   %s\n", "", "time", "yardstick", "ratio");
  bool withinLimits = true;
  for (const Comparison& row : comparisons) {
    withinLimits &= reporter.compare(row.name, row.yardstick, row.factor, row.limit);
  }
  return withinLimits ? 0 : 1;
}
