#include <boost/filesystem/path.hpp>

#include "fuzz_target.hpp"
#include "support/fake_engine.hpp"
#include "xml_oracle.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string xml = fuzz::toString(data, size);
  const fuzz::MemoryFile file(xml);
  const test::MinimalEngine engine;
  const std::string voice = engine.getVoiceNameFromXml(file.path());
  if (oracle::mayBeRefused(xml)) {
    return 0;
  }
  oracle::Settings settings;
  oracle::readSettings(xml, settings);
  std::string expected;
  for (const auto& [name, value] : settings) {
    if (name == "sourceVoice") {
      expected = value;
    }
  }
  fuzz::require(voice == expected, "getVoiceNameFromXml");
  return 0;
}
