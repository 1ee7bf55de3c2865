#pragma once

#include <functional>
#include <kqtts/texttospeech_engine.hpp>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace test {

/// An engine with only the hooks that every engine must have. Each hook records its call, and
/// returns the value of a field below.
///
/// A call reads "xSetParameter speed 1.5": the hook's name and its arguments. Set the fields before
/// threads use the engine.
class MinimalEngine : public KQ::TextToSpeechEngine {
 public:
  explicit MinimalEngine(std::string engineName = "Fake",
                         TextToSpeechEngineCallbackInterface* callback = nullptr,
                         boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo = nullptr);
  ~MinimalEngine() override;

  std::string name;
  bool initializeResult = true;
  bool terminateResult = true;
  std::vector<std::string> languages = {"English", "French"};
  std::vector<std::string> oldLanguages;
  std::map<std::string, std::string> voices = {{"Anna", "English"}};
  std::string currentLanguage = "English";
  std::vector<std::string> parameters = {"speed"};
  float parameter = 1.5F;
  int samplingRate = 22050;
  int encodingResult = 7;
  std::vector<zu::PackageInfo> packages;  ///< the argument of the last xInitialize()

  /// Each hook calls this with the text of its call, after recording it. It may throw or block.
  std::function<void(const std::string& call)> onCall;
  std::function<void()> onDestruction;

  /// Returns the calls recorded since the last time, and removes them.
  std::vector<std::string> takeCalls();

  bool isTalking() const;
  bool isFilterEnabled() const;
  /// Sets flags that otherwise only operations change.
  void setFlags(bool nowActive, bool nowPaused);

 protected:
  void note(const char* hook, const std::vector<std::string>& arguments = {}) const;

  std::string xGetName() const override;
  bool xInitialize(const std::vector<zu::PackageInfo>& installed) override;
  bool xTerminate() override;
  void xStartSynthetizer(const std::string& text) override;
  void xStopSynthetizer() override;
  void xPauseSynthetizer() override;
  void xRestartSynthetizer() override;
  void xSetParameter(const std::string& parameterName, const float& value) override;
  void xResetSpeed() override;
  float xGetParameter(const std::string& parameterName) const override;
  void xSetCurrentLanguage(const std::string& language) override;
  void xSetCurrentVoice(const std::string& voice) override;
  std::vector<std::string> xGetOldLanguagesDetected() const override;
  std::map<std::string, std::string> xGetAvailableVoices() const override;
  std::vector<std::string> xGetAvailableLanguages() const override;
  std::vector<std::string> xGetAvailableParameters() const override;
  int xGetCurrentSamplingRate() const override;
  int xTestTextEncoding(const std::string& first, const std::string& second) override;
  std::string xGetCurrentLanguage() const override;

  mutable std::mutex stateMutex;  ///< guards calls and currentLanguage

 private:
  mutable std::vector<std::string> calls;
};

/// An engine with every hook.
class FakeEngine : public MinimalEngine {
 public:
  using MinimalEngine::MinimalEngine;
  ~FakeEngine() override;

  std::map<std::string, std::string> allVoices = {{"Anna", "English"}, {"Marie", "French"}};
  std::string currentVoice = "Anna";
  std::string defaultVoice = "Anna";
  std::string voiceFolder = "/voices/Anna";
  bool dictionaryResult = true;

 protected:
  std::map<std::string, std::string> xGetAllAvailableVoices() const override;
  std::string xGetVoiceInstallDir(const std::string& voice) const override;
  std::string xGetCurrentVoice() const override;
  std::string xGetDefaultVoiceForLanguage(const std::string& language) const override;
  void xLoadDictionary() override;
  void xUnloadDictionary() override;
  void xShowDictionary() override;
  bool xDeleteFromDictionary(const std::string& first, const std::string& second) override;
  bool xAddToDictionary(const std::string& first, const std::string& second,
                        const std::string& third, const std::string& fourth,
                        const std::string& fifth) override;
  void xSetDefaultVoice() override;
  void xApplyEffect(const std::string& effect, bool flag) override;
  void xLoadEffect(const boost::filesystem::path& file) override;
};

}  // namespace test
