#pragma once

#include <condition_variable>
#include <cstdint>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <mutex>

/// The smallest engine: each byte of a text is a short tone. It needs no package, has one language
/// with one voice, and no parameters.
class ToneEngine : public KQ::TextToSpeechEngine {
 public:
  using TextToSpeechEngine::TextToSpeechEngine;

 protected:
  std::string xGetName() const override { return "Tone"; }
  bool xInitialize(const std::vector<zu::PackageInfo>& /*packages*/) override { return true; }
  bool xTerminate() override;

  void xStartSynthetizer(const std::string& text) override;
  void xStopSynthetizer() override;
  void xPauseSynthetizer() override;
  void xRestartSynthetizer() override;

  void xSetParameter(const std::string& name, const float& value) override;
  float xGetParameter(const std::string& name) const override;
  void xResetSpeed() override {}
  std::vector<std::string> xGetAvailableParameters() const override { return {}; }
  int xGetCurrentSamplingRate() const override { return samplingRate; }
  int xTestTextEncoding(const std::string&, const std::string&) override { return 1; }

  // The base accepts only languages and voices that the engine offers. This one has no choice.
  void xSetCurrentLanguage(const std::string& /*language*/) override {}
  void xSetCurrentVoice(const std::string& /*voice*/) override {}
  std::string xGetCurrentLanguage() const override { return "English"; }
  std::vector<std::string> xGetAvailableLanguages() const override { return {"English"}; }
  std::vector<std::string> xGetOldLanguagesDetected() const override { return {}; }
  std::map<std::string, std::string> xGetAvailableVoices() const override {
    return {{"default", "English"}};
  }

 private:
  static constexpr int samplingRate = 16000;

  static std::vector<std::int16_t> tone(unsigned char pitch);

  SpeechEnd speak(const std::string& text, TextToSpeechEngineCallbackInterface& host);

  // Other threads than the speaking one call stop, pause and restart.
  std::mutex controlMutex;
  std::condition_variable changed;
  unsigned stops = 0;  ///< the number of stops so far; an utterance ends when it grows
  bool held = false;
};
