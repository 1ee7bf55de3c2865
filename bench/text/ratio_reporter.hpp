#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// What one benchmark must reach beside another of the same run.
struct Figure {
  std::string subject;    ///< the benchmark's name
  std::string yardstick;  ///< the other's
  double atLeast;         ///< the subject's bytes per second over the yardstick's
};

/// Prints the runs, and then the figures that they give. Of several repetitions the fastest counts.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Figures whose benchmarks did not both run are left out.
  /// \return whether all that were run are reached
  bool report(const std::vector<Figure>& figures) const;

 private:
  std::map<std::string, double> bytesPerSecond;
};
