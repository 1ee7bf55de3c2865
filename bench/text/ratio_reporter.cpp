#include "ratio_reporter.hpp"

#include <algorithm>
#include <cstdio>

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    const auto counter = run.counters.find("bytes_per_second");
    if (run.run_type == Run::RT_Iteration && counter != run.counters.end()) {
      double& fastest = bytesPerSecond[run.run_name.function_name];
      fastest = std::max(fastest, counter->second.value);
    }
  }
}

bool RatioReporter::report(const std::vector<Figure>& figures) const {
  bool reached = true;
  std::printf("\n%-40s %-40s %8s %8s\n", "subject", "yardstick", "asked", "ratio");
  for (const Figure& figure : figures) {
    const auto subject = bytesPerSecond.find(figure.subject);
    const auto yardstick = bytesPerSecond.find(figure.yardstick);
    if (subject == bytesPerSecond.end() || yardstick == bytesPerSecond.end()) {
      continue;
    }
    const double ratio = subject->second / yardstick->second;
    std::printf("%-40s %-40s %8.2f %8.2f%s\n", figure.subject.c_str(), figure.yardstick.c_str(),
                figure.atLeast, ratio, ratio < figure.atLeast ? "  MISSED" : "");
    reached = reached && ratio >= figure.atLeast;
  }
  return reached;
}
