// The frame of the fragments in a guide: a host with a manager, a callback and packages.
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <iostream>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <kq/value.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_preference.hpp>
#include <thread>
#include <zu/log.hpp>
#include <zu/path.hpp>

void host(KQ::TextToSpeechManager& tts, const std::vector<zu::PackageInfo>& packages,
          TextToSpeechEngineCallbackInterface& speaker, const KQValue& preferences) {
  // fragments
}
