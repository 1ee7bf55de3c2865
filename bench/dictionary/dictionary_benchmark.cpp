#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "support/benchmark_setup.hpp"
#include "support/ratio_reporter.hpp"
#include "text/spoken_text.hpp"

namespace {

using bench::repeated;
using KQ::engines::SpokenText;
using KQ::engines::UserDictionary;

constexpr std::size_t megabyte = 1000 * 1000;

/// A dictionary with so many entries. One entry is for a word of each text.
std::shared_ptr<const UserDictionary> dictionaryOf(std::size_t entries) {
  const auto dictionary = std::make_shared<UserDictionary>();
  dictionary->add({"platform", "track"});
  dictionary->add({"重庆", "chong qing"});
  for (std::size_t i = 2; i < entries; ++i) {
    dictionary->add({"word" + std::to_string(i), "another"});
  }
  return dictionary;
}

void readAll(benchmark::State& state, const std::string& text, const UserDictionary& dictionary) {
  for (auto _ : state) {
    SpokenText spoken(text, &dictionary);
    while (const auto item = spoken.next()) {
      benchmark::DoNotOptimize(spoken.view(item->offset, item->length));
      spoken.release(item->offset);
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size() * state.iterations()));
}

void enlist(const std::string& name, const std::string& text, std::size_t entries) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [text, dictionary = dictionaryOf(entries)](benchmark::State& state) {
                                 readAll(state, text, *dictionary);
                               });
}

/// \param unit  the piece that the texts repeat
std::vector<Figure> addFigures(const std::string& language, const std::string& unit) {
  constexpr double samePace = 1 / 1.25;
  const Figure manyEntries{"10,000 entries", "10 MB " + language, "10 entries", samePace};
  const Figure longText{"10,000 entries", "10 MB " + language, "1 MB", samePace};
  const std::string text = repeated(unit, 10 * megabyte);
  enlist(manyEntries.subjectRun(), text, 10000);
  enlist(manyEntries.yardstickRun(), text, 10);
  enlist(longText.yardstickRun(), repeated(unit, megabyte), 10000);
  return {manyEntries, longText};
}

}  // namespace

int main(int argc, char** argv) {
  bench::initialize(argc, argv, {"--benchmark_repetitions=5", "--benchmark_min_time=0.05"});

  std::vector<Figure> figures = addFigures(
      "English", "The next train to the airport leaves from platform four at half past nine. ");
  const std::vector<Figure> more =
      addFigures("Chinese", "下一班开往重庆的列车九点半从四号站台发车，请注意安全。");
  figures.insert(figures.end(), more.begin(), more.end());
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return reporter.report(figures) ? 0 : 1;
}
