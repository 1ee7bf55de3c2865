#include "text/name_distance.hpp"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <cstddef>
#include <locale>
#include <utility>

namespace tool {

namespace {

/// Longer names are compared by their beginnings.
constexpr std::size_t comparedBytes = 64;

std::string comparable(const std::string& name) {
  return boost::algorithm::to_lower_copy(name.substr(0, comparedBytes), std::locale::classic());
}

/// The number of bytes to insert, remove, replace or swap with the next one to make one text of the
/// other.
std::size_t editDistance(const std::string& one, const std::string& other) {
  using Row = std::vector<std::size_t>;
  Row beforeLast;
  Row last;
  Row row(other.size() + 1);
  for (std::size_t j = 0; j < row.size(); ++j) {
    row[j] = j;
  }
  for (std::size_t i = 1; i <= one.size(); ++i) {
    beforeLast = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= other.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
      if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
        row[j] = std::min(row[j], beforeLast[j - 2] + 1);
      }
    }
  }
  return row.back();
}

}  // namespace

std::vector<std::string> closestNames(const std::string& written,
                                      const std::vector<std::string>& names) {
  constexpr std::size_t most = 3;
  const std::string sought = comparable(written);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& name : names) {
    const std::string candidate = comparable(name);
    const std::size_t allowed = 1 + std::min(sought.size(), candidate.size()) / 4;
    const std::size_t distance = editDistance(sought, candidate);
    if (distance <= allowed) {
      near.emplace_back(distance, name);
    }
  }
  std::sort(near.begin(), near.end());
  near.erase(std::unique(near.begin(), near.end()), near.end());
  std::vector<std::string> result;
  for (std::size_t i = 0; i < std::min(near.size(), most); ++i) {
    result.push_back(near[i].second);
  }
  return result;
}

std::string suggestion(const std::string& written, const std::vector<std::string>& names) {
  const std::vector<std::string> closest = closestNames(written, names);
  return closest.empty() ? "" : ", did you mean '" + closest.front() + "'?";
}

}  // namespace tool
