#include "support/ratio_table.hpp"

#include <cstdio>

namespace {

void printCells(const std::vector<std::string>& cells) {
  std::printf("|");
  for (const std::string& cell : cells) {
    std::printf(" %s |", cell.c_str());
  }
}

}  // namespace

RatioTable::RatioTable(const std::vector<std::string>& titles, Limit limitKind) : kind(limitKind) {
  std::printf("\n");
  printCells(titles);
  std::printf(" %s | ratio |\n|", kind == Limit::atLeast ? "at least" : "at most");
  for (std::size_t i = 0; i < titles.size(); ++i) {
    std::printf("---|");
  }
  std::printf("---:|---:|\n");
}

void RatioTable::add(const std::vector<std::string>& cells, double limit, double ratio) {
  const bool isMissed = limit > 0 && (kind == Limit::atLeast ? ratio < limit : ratio > limit);
  printCells(cells);
  limit > 0 ? std::printf(" %.2f |", limit) : std::printf(" – |");
  std::printf(" %.2f%s |\n", ratio, isMissed ? " **missed**" : "");
  std::fflush(stdout);
  reached = reached && !isMissed;
}
