#include <kqtts/tts_preference.hpp>

#include "fuzz_target.hpp"
#include "text_oracle.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto [delimiters, text] = fuzz::splitLine(fuzz::toString(data, size));
  std::vector<std::string> tokens = {"first"};
  std::vector<std::string> expected = tokens;
  KQ::tokenizeString(text, tokens, delimiters);
  oracle::tokenizeString(text, expected, delimiters);
  fuzz::require(tokens == expected, "tokenizeString");
  return 0;
}
