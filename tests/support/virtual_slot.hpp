#pragma once

#include <cstddef>
#include <cstring>

namespace test {

/// The position of a virtual function in its class's table, counted from 0. A pointer to a virtual
/// member function holds 1 + the offset in the table.
template <typename Function>
std::size_t slotOf(Function function) {
  std::size_t offset = 0;
  std::memcpy(&offset, &function, sizeof offset);
  return (offset - 1) / sizeof(void*);
}

}  // namespace test
