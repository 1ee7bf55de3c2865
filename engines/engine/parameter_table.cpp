#include "engine/parameter_table.hpp"

#include <algorithm>
#include <kq/error.hpp>
#include <sstream>
#include <utility>

namespace KQ::engines {

namespace {

std::string rangeText(const ParameterRow& row, float value) {
  std::ostringstream text;
  text << "parameter \"" << row.name << "\" cannot be " << value << ", it must be "
       << (row.zeroIsNormal ? "0 or " : "") << "from " << row.lowest << " to " << row.highest;
  return text.str();
}

std::string unknownText(const std::string& name, const std::vector<ParameterRow>& rows) {
  std::string text = "unknown parameter \"" + name + "\", there are";
  for (const ParameterRow& row : rows) {
    text += std::string(" \"") + row.name + '"';
  }
  return text;
}

}  // namespace

bool ParameterRow::accepts(float value) const {
  return (value >= lowest && value <= highest) || (zeroIsNormal && value == 0);
}

ParameterTable::ParameterTable(std::string name, std::vector<ParameterRow> tableRows)
    : engineName(std::move(name)), rows(std::move(tableRows)) {
  for (const ParameterRow& row : rows) {
    values[row.name] = row.normal;
  }
}

void ParameterTable::set(const std::string& name, float value) {
  const ParameterRow& target = row(name, "setParameter");
  if (!target.accepts(value)) {
    throw KQError(engineName, "setParameter", rangeText(target, value), nullptr, 0);
  }
  const std::lock_guard<std::mutex> lock(mutex);
  values[name] = value;
}

float ParameterTable::get(const std::string& name) const {
  row(name, "getParameter");
  const std::lock_guard<std::mutex> lock(mutex);
  return values.at(name);
}

void ParameterTable::reset(const ParameterRow& target) {
  set(target.name, target.normal);
}

std::vector<std::string> ParameterTable::names() const {
  std::vector<std::string> all;
  for (const ParameterRow& row : rows) {
    all.emplace_back(row.name);
  }
  return all;
}

const ParameterRow& ParameterTable::row(const std::string& name, const char* method) const {
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const ParameterRow& candidate) {
    return name == candidate.name;
  });
  if (found == rows.end()) {
    throw KQError(engineName, method, unknownText(name, rows), nullptr, 0);
  }
  return *found;
}

}  // namespace KQ::engines
