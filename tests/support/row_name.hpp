#pragma once

#include <gtest/gtest.h>

#include <string>

namespace test {

/// Names each test of a table after the field `name` of its row.
struct RowName {
  template <typename Row>
  std::string operator()(const testing::TestParamInfo<Row>& row) const {
    return row.param.name;
  }
};

}  // namespace test
