// An engine plug-in that speaks a tone. The environment variable TEST_FAULT selects a fault.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <kq/error.hpp>
#include <string>
#include <vector>

#include "engine/speech_engine.hpp"
#include "engine/warning.hpp"

namespace {

using KQ::engines::SpeechSettings;
using KQ::engines::Utterance;

bool hasFault(const std::string& name) {
  const char* fault = std::getenv("TEST_FAULT");
  return fault != nullptr && fault == name;
}

[[noreturn]] void hang() {
  for (;;) {
    pause();
  }
}

/// Fails in the chosen way if the chosen place is `place`.
void suffer(const std::string& place) {
  if (hasFault("crash in " + place)) {
    std::abort();
  }
  if (hasFault("hang in " + place)) {
    hang();
  }
  if (hasFault("exit in " + place)) {
    _exit(0);
  }
  if (hasFault("throw in " + place)) {
    throw KQError("Tone", place, "the fork is bent", nullptr, 0);
  }
  if (hasFault("foreign throw in " + place)) {
    throw 42;
  }
}

struct Opening {
  Opening() {
    if (hasFault("crash in opening")) {
      std::abort();
    }
    if (hasFault("hang in opening")) {
      hang();
    }
  }
} opening;

constexpr int rate = 22050;

class ToneSynthesizer : public KQ::engines::Synthesizer {
 public:
  int samplingRate(const std::string& /*sourceVoice*/) const override { return rate; }
  bool hasVoice(const std::string& sourceVoice) const override { return sourceVoice == "tone"; }
  KQ::engines::TurnQueue& turns() override { return queue; }
  void speak(KQ::engines::SpokenText& /*text*/, const SpeechSettings& /*settings*/,
             Utterance& utterance) override {
    suffer("speaking");
    const std::vector<std::int16_t> samples(hasFault("silence") ? 0 : 2205, 1000);
    utterance.emitAudio(samples.data(), samples.size(), rate);
  }

 private:
  KQ::engines::TurnQueue queue{"Tone"};
};

class Patient : public KQ::engines::SpeechEngine {
 public:
  using SpeechEngine::SpeechEngine;

 protected:
  bool xInitialize(const std::vector<zu::PackageInfo>& packages) override {
    suffer("initialising");
    if (hasFault("noise")) {
      std::puts("printed by the plug-in");
    }
    if (hasFault("refusal")) {
      KQ::engines::warn("engine.tone", "The licence has expired.");
      return false;
    }
    return SpeechEngine::xInitialize(packages);
  }
  bool xTerminate() override {
    suffer("terminating");
    return SpeechEngine::xTerminate();
  }
  std::vector<std::string> xGetAvailableLanguages() const override {
    suffer("asking");
    return SpeechEngine::xGetAvailableLanguages();
  }
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) KQ::TextToSpeechEngine* load_plugin(
    TextToSpeechEngineCallbackInterface* callback,
    boost::shared_ptr<KQ::TTSLanguageInfo> languageInfo) {
  suffer("loading");
  if (hasFault("no engine")) {
    return nullptr;
  }
  return new Patient(
      {"Tone", "tone", "1.0", "engine.tone", [] { return std::make_shared<ToneSynthesizer>(); }},
      callback, languageInfo);
}

__attribute__((visibility("default"))) void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
}
