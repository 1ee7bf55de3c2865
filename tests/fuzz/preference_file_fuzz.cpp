#include <boost/filesystem/path.hpp>
#include <kqtts/tts_preference.hpp>

#include "fuzz_target.hpp"
#include "xml_oracle.hpp"

namespace {

KQ::VoiceSetting read(const fuzz::MemoryFile& file) {
  boost::filesystem::path path = file.path();
  return KQ::makeVoiceSettingFromXml(path);
}

bool isSame(float left, float right) {
  return left == right || (left != left && right != right);
}

bool isSame(const KQ::VoiceSetting& left, const KQ::VoiceSetting& right) {
  bool same =
      left.voiceName == right.voiceName && left.parameters.size() == right.parameters.size();
  for (const auto& [name, value] : left.parameters) {
    same = same && isSame(value, right.parameters.at(name));
  }
  return same;
}

KQ::VoiceSetting expectedSetting(const std::string& xml) {
  KQ::VoiceSetting setting(KQ::VOICE_SETTING_PREFERENCES, "");
  oracle::Settings settings;
  oracle::readSettings(xml, settings);
  for (const auto& [name, value] : settings) {
    if (name == "sourceVoice") {
      setting.voiceName = value;
    } else if (setting.parameters.count(name) != 0) {
      setting.parameters[name] = oracle::readNumber(value);
    }
  }
  return setting;
}

/// Writing and reading a setting may drop characters that XML cannot hold. Writing and reading it a
/// second time changes nothing.
void requireStable(const KQ::VoiceSetting& setting) {
  const fuzz::MemoryFile file("");
  std::string path = file.path();
  fuzz::require(KQ::writeVoiceSettingInXml(path, setting), "writing the setting");
  const KQ::VoiceSetting once = read(file);
  fuzz::require(KQ::writeVoiceSettingInXml(path, once), "writing the setting again");
  fuzz::require(isSame(read(file), once), "the setting that was written");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string xml = fuzz::toString(data, size);
  const KQ::VoiceSetting setting = read(fuzz::MemoryFile(xml));
  if (!oracle::mayBeRefused(xml)) {
    fuzz::require(isSame(setting, expectedSetting(xml)), "makeVoiceSettingFromXml");
  }
  requireStable(setting);
  return 0;
}
