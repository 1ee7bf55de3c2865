#pragma once

#include <boost/atomic/atomic_ref.hpp>

namespace KQ {

/// Reads a plain bool that other threads write with writeFlag().
inline bool readFlag(const bool& flag) {
  // load() writes nothing, but atomic_ref cannot refer to a const object.
  return boost::atomic_ref<bool>(const_cast<bool&>(flag)).load(boost::memory_order_acquire);
}

/// Writes a plain bool that other threads read with readFlag().
inline void writeFlag(bool& flag, bool value) {
  boost::atomic_ref<bool>(flag).store(value, boost::memory_order_release);
}

}  // namespace KQ
