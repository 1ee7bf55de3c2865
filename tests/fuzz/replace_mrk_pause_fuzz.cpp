#include <kqtts/tts_preference.hpp>

#include "fuzz_target.hpp"
#include "text_oracle.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text = fuzz::toString(data, size);
  std::string expected = text;
  KQ::replaceMrkPause(text);
  oracle::replaceMrkPause(expected);
  fuzz::require(text == expected, "replaceMrkPause");
  return 0;
}
