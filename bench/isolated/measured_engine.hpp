#pragma once

#include <sys/types.h>

#include <boost/shared_ptr.hpp>
#include <chrono>
#include <functional>
#include <kq/speech_callback.hpp>
#include <kqtts/texttospeech_manager.hpp>
#include <string>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// Where an engine runs.
enum class Place { inProcess, isolated };

/// One engine behind a manager, which speaks into nothing and notes the times.
class MeasuredEngine : public TextToSpeechEngineCallbackInterface {
 public:
  MeasuredEngine(const std::string& plugin, Place place);
  ~MeasuredEngine() override;

  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override;

  KQ::TextToSpeechManager& tts() { return *manager; }

  /// From the start to the first audio, which is refused.
  double firstAudio(const std::string& text);
  /// From the start to its return.
  double synthesis(const std::string& text);
  /// From a stop, given at some audio by another thread, to the return of the start.
  double stopToReturn(const std::string& text);
  /// From the end of the engine's process to the next audio.
  double killToNextAudio(const std::string& text);

  /// The process of an isolated engine.
  pid_t process() const { return child; }

 private:
  std::function<bool(Clock::time_point)> atAudio;
  boost::shared_ptr<KQ::TTSLanguageInfo> languages;
  std::unique_ptr<KQ::TextToSpeechManager> manager;
  pid_t child = 0;
};

/// The newest of this process's children; 0 if there is none.
pid_t newestChild();

}  // namespace bench
