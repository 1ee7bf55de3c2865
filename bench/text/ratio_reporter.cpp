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
  std::printf("\n| function | text | beside | at least | ratio |\n|---|---|---|---:|---:|\n");
  for (const Figure& figure : figures) {
    const auto subject = bytesPerSecond.find(figure.subjectRun());
    const auto yardstick = bytesPerSecond.find(figure.yardstickRun());
    if (subject == bytesPerSecond.end() || yardstick == bytesPerSecond.end()) {
      continue;
    }
    const double ratio = subject->second / yardstick->second;
    const bool missed = ratio < figure.atLeast;
    std::printf("| %s | %s | %s | ", figure.function.c_str(), figure.text.c_str(),
                figure.yardstick.c_str());
    figure.atLeast > 0 ? std::printf("%.2f", figure.atLeast) : std::printf("–");
    std::printf(" | %.2f%s |\n", ratio, missed ? " **missed**" : "");
    reached = reached && !missed;
  }
  return reached;
}
