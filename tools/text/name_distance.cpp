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

/// The number of bytes to insert, remove or replace to make one text of the other.
std::size_t editDistance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  for (std::size_t j = 0; j < row.size(); ++j) {
    row[j] = j;
  }
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
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

}  // namespace tool
