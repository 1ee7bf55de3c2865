#include "tone_engine.hpp"

#include <cmath>
#include <kq/error.hpp>

bool ToneEngine::xTerminate() {
  xStopSynthetizer();
  return true;
}

void ToneEngine::xStartSynthetizer(const std::string& text) {
  TextToSpeechEngineCallbackInterface nobody;
  TextToSpeechEngineCallbackInterface& host = callback != nullptr ? *callback : nobody;
  SpeechEnd end = SpeechEnd::failed;
  try {
    end = speak(text, host);
  } catch (...) {
    host.onEnd(end);
    throw;
  }
  host.onEnd(end);
}

SpeechEnd ToneEngine::speak(const std::string& text, TextToSpeechEngineCallbackInterface& host) {
  std::unique_lock<std::mutex> lock(controlMutex);
  const unsigned stopsBefore = stops;
  lock.unlock();
  host.onStart();
  for (const char letter : text) {
    const std::vector<std::int16_t> samples = tone(static_cast<unsigned char>(letter));
    lock.lock();
    changed.wait(lock, [&] { return !held || stops != stopsBefore; });
    const bool stopped = stops != stopsBefore;
    lock.unlock();  // the host may stop, pause and restart from within onAudio()
    if (stopped || !host.onAudio(samples.data(), samples.size(), samplingRate)) {
      return SpeechEnd::stopped;
    }
  }
  return SpeechEnd::finished;
}

/// 80 ms on one of 24 semitones.
std::vector<std::int16_t> ToneEngine::tone(unsigned char pitch) {
  const double step = 6.2831853 * 220 * std::exp2((pitch % 24) / 12.0) / samplingRate;
  std::vector<std::int16_t> samples(samplingRate * 80 / 1000);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<std::int16_t>(8000 * std::sin(step * static_cast<double>(i)));
  }
  return samples;
}

void ToneEngine::xStopSynthetizer() {
  const std::lock_guard<std::mutex> lock(controlMutex);
  ++stops;
  changed.notify_all();
}

void ToneEngine::xPauseSynthetizer() {
  const std::lock_guard<std::mutex> lock(controlMutex);
  held = true;
}

void ToneEngine::xRestartSynthetizer() {
  const std::lock_guard<std::mutex> lock(controlMutex);
  held = false;
  changed.notify_all();
}

void ToneEngine::xSetParameter(const std::string& name, const float& /*value*/) {
  throw KQError("Tone", "setParameter", name + " is not a parameter of this engine", nullptr, 0);
}

float ToneEngine::xGetParameter(const std::string& name) const {
  throw KQError("Tone", "getParameter", name + " is not a parameter of this engine", nullptr, 0);
}

// The entry points of the plug-in.

extern "C" KQ::TextToSpeechEngine* load_plugin(TextToSpeechEngineCallbackInterface* callback,
                                               boost::shared_ptr<KQ::TTSLanguageInfo> languages) {
  return new ToneEngine(callback, languages);
}

extern "C" void unload_plugin(KQ::TextToSpeechEngine** engine) {
  delete *engine;
  *engine = nullptr;
}
