#pragma once

#include <functional>
#include <kqtts/tts_preference.hpp>
#include <string>

namespace KQ::engines {

/// A second copy of the voice, mixed in at another pitch and later.
struct DoubleVoice {
  float pitch = 0;  ///< factor to the voice's pitch; 0 for no copy
  float level = 0;  ///< factor to the voice's level
  float delay = 0;  ///< seconds

  bool isHeard() const { return pitch > 0 && level > 0; }
};

/// How a voice differs from the synthesiser's voice that it is based on.
struct VoiceTuning {
  float speed = 100;  ///< percent
  float pitch = 1;    ///< factor
  float level = 1;    ///< factor
  DoubleVoice doubleVoice;
};

/// Returns the tuning of a voice from its preferences. A value out of range counts as absent.
/// \param complain  called for each value out of range
VoiceTuning tuningOf(const VoiceSetting& setting,
                     const std::function<void(const std::string& complaint)>& complain);

}  // namespace KQ::engines
