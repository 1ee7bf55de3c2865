#pragma once

#include <string>
#include <vector>

/// Prints ratios and their limits as a Markdown table.
class RatioTable {
 public:
  enum class Limit { atLeast, atMost };

  /// Prints the header. \param titles  of the columns before the limit and the ratio
  RatioTable(const std::vector<std::string>& titles, Limit limitKind);

  /// Prints a row. \param limit  0: no limit
  void add(const std::vector<std::string>& cells, double limit, double ratio);

  /// Whether all ratios are within their limits.
  bool isReached() const { return reached; }

 private:
  Limit kind;
  bool reached = true;
};
