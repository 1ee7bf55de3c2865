#include <kqtts/tts_preference.hpp>

#include "fuzz_target.hpp"
#include "text_oracle.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::toString(data, size);
  const bool expected = oracle::isTagsOnlySentence(text);
  fuzz::require(KQ::isTagsOnlySentence(text) == expected, "isTagsOnlySentence");
  // The function has other code for long texts.
  static const std::string longTag = '\\' + std::string(std::size_t{64} * 1024, 'a') + '\\';
  fuzz::require(KQ::isTagsOnlySentence(longTag + text) == expected,
                "isTagsOnlySentence of a long text");
  return 0;
}
