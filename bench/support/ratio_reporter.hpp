#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// The speed that a function must reach on a text, relative to a yardstick in the same process.
struct Figure {
  std::string function;
  std::string text;
  std::string yardstick;
  double atLeast;  ///< the function's bytes per second over the yardstick's; 0: no limit

  std::string subjectRun() const { return function + ", " + text; }  ///< the benchmark's name
  std::string yardstickRun() const { return subjectRun() + ": " + yardstick; }
};

/// Prints the runs, then a Markdown table of the figures. Only the fastest of several repetitions
/// counts.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Leaves out a figure if its function or its yardstick did not run.
  /// \return whether all other figures are reached
  bool report(const std::vector<Figure>& figures) const;

 private:
  std::map<std::string, double> bytesPerSecond;
};
