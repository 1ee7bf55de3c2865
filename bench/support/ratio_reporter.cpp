#include "support/ratio_reporter.hpp"

#include <algorithm>

#include "support/ratio_table.hpp"

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
  RatioTable table({"function", "text", "beside"}, RatioTable::Limit::atLeast);
  for (const Figure& figure : figures) {
    const auto subject = bytesPerSecond.find(figure.subjectRun());
    const auto yardstick = bytesPerSecond.find(figure.yardstickRun());
    if (subject != bytesPerSecond.end() && yardstick != bytesPerSecond.end()) {
      table.add({figure.function, figure.text, figure.yardstick}, figure.atLeast,
                subject->second / yardstick->second);
    }
  }
  return table.isReached();
}
