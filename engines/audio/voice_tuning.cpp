#include "audio/voice_tuning.hpp"

#include "engine/parameter_table.hpp"

namespace KQ::engines {

VoiceTuning tuningOf(const VoiceSetting& setting,
                     const std::function<void(const std::string& complaint)>& complain) {
  const auto value = [&](const char* name, const ParameterRow& row) {
    const auto found = setting.parameters.find(name);
    if (found == setting.parameters.end() || (row.zeroIsNormal && found->second == 0)) {
      return row.normal;
    }
    if (!row.accepts(found->second)) {
      complain(std::string("preference \"") + name + "\" is out of range");
      return row.normal;
    }
    return found->second;
  };
  VoiceTuning tuning;
  tuning.speed = value("defaultVoiceSpeed", parameters::speed);
  tuning.pitch = value("pitchShift", parameters::pitchShift);
  tuning.level = value("voiceLevel", parameters::voiceLevel);
  tuning.doubleVoice.pitch = value("doubleVoice", parameters::doubleVoice);
  tuning.doubleVoice.level = value("doubleVoiceLevel", parameters::doubleVoiceLevel);
  tuning.doubleVoice.delay = value("doubleVoiceTimeShift", parameters::doubleVoiceTimeShift);
  return tuning;
}

}  // namespace KQ::engines
