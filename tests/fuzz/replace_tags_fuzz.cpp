#include <kqtts/tts_preference.hpp>

#include "fuzz_target.hpp"
#include "text_oracle.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [replacement, text] = fuzz::splitLine(fuzz::toString(data, size));
  fuzz::require(
      KQ::replaceTags(text, replacement.c_str()) == oracle::replaceTags(text, replacement.c_str()),
      "replaceTags");
  return 0;
}
