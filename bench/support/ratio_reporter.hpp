#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// What a function must reach on a text beside a yardstick in the same process.
struct Figure {
  std::string function;
  std::string text;
  std::string yardstick;
  double atLeast;  ///< the function's bytes per second over the yardstick's; 0: nothing is asked

  std::string subjectRun() const { return function + ", " + text; }  ///< the benchmark's name
  std::string yardstickRun() const { return subjectRun() + ": " + yardstick; }
};

/// Prints the runs, and then the figures that they give, as a table in Markdown. Of several
/// repetitions the fastest counts.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Figures whose benchmarks did not both run are left out.
  /// \return whether all that were run are reached
  bool report(const std::vector<Figure>& figures) const;

 private:
  std::map<std::string, double> bytesPerSecond;
};
