#pragma once

#include <gtest/gtest.h>

#include <string>

namespace test {

/// Names the tests of a table after the rows' field `name`.
struct RowName {
  template <typename Row>
  std::string operator()(const testing::TestParamInfo<Row>& row) const {
    return row.param.name;
  }
};

}  // namespace test
