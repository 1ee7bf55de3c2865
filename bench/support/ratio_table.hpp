#pragma once

#include <string>
#include <vector>

/// Prints ratios as a table in Markdown, each beside what is asked of it.
class RatioTable {
 public:
  enum class Limit { atLeast, atMost };

  /// Prints the head. \param titles  of the columns in front of limit and ratio
  RatioTable(const std::vector<std::string>& titles, Limit limitKind);

  /// Prints a row. \param limit  0: nothing is asked
  void add(const std::vector<std::string>& cells, double limit, double ratio);

  /// Whether no row has missed its limit.
  bool isReached() const { return reached; }

 private:
  Limit kind;
  bool reached = true;
};
