#pragma once

#include <future>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <memory>
#include <string>

#include "check_engine/event_recorder.hpp"
#include "check_engine/examination.hpp"
#include "probe/plugin_library.hpp"

namespace tool {

/// Digits: every language can say them.
extern const std::string shortText;
/// A text so long that it does not end before it is stopped.
extern const std::string longText;

/// An engine of the plug-in, used by a check. Whatever goes wrong is a finding.
class TrialEngine {
 public:
  enum class Callback { recorder, none };

  /// Opens the library and creates an engine.
  explicit TrialEngine(const Examination& check, Callback callback = Callback::recorder);

  KQ::TextToSpeechEngine& operator*() const { return *engine; }
  KQ::TextToSpeechEngine* operator->() const { return engine; }
  EventRecorder& recorder() { return *host; }
  const PluginLibrary& library() const { return plugin; }
  KQ::TTSLanguageInfo& table() { return *languageTable; }

  /// Initialises the engine. The check is skipped when it has no usable package.
  void initialize();
  /// Initialises the engine, and skips the check when it has no language to speak.
  void initializeToSpeak();

  /// Speaks in this thread, and reports where the events break the contract.
  SpeechEvents speak(const std::string& what, const std::string& text, bool maybeSilent = false);
  /// Speaks the short text, which must be spoken to its end.
  void speakWhole(const std::string& what);
  void report(const std::string& what, const SpeechEvents& events, const std::string& text,
              bool maybeSilent = false);

  void terminate();

  enum class Destruction { byPlugin, byHost };
  /// Destroys the engine. After that, only closeLibrary() may be called.
  void destroy(Destruction how);
  void closeLibrary();

 private:
  const Examination& exam;
  PluginLibrary plugin;
  EventRecorder* host;  ///< never destroyed, since an abandoned utterance still calls it
  boost::shared_ptr<KQ::TTSLanguageInfo> languageTable;
  KQ::TextToSpeechEngine* engine;
};

/// An utterance in a thread of its own. The caller can wait for it or abandon it.
class BackgroundUtterance {
 public:
  BackgroundUtterance(KQ::TextToSpeechEngine& engine, const std::string& text);
  /// Abandons it if it still runs.
  ~BackgroundUtterance();
  BackgroundUtterance(const BackgroundUtterance&) = delete;
  BackgroundUtterance& operator=(const BackgroundUtterance&) = delete;

  bool endsWithin(std::chrono::milliseconds time) const;
  /// What startSynthetizer() threw, in words; "" when it returned. Waits for the end.
  const std::string& failure() const { return result.get(); }
  std::thread::id thread() const { return id; }

 private:
  std::shared_future<std::string> result;
  std::thread runner;
  std::thread::id id;
};

/// Blocks the engine in its first audio until open() is called.
class AudioGate {
 public:
  explicit AudioGate(EventRecorder& recorder);
  ~AudioGate() { open(); }
  AudioGate(const AudioGate&) = delete;
  AudioGate& operator=(const AudioGate&) = delete;

  /// \return whether the audio came in time, so that the engine is blocked now
  bool reachedWithin(std::chrono::milliseconds time);
  void open();

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    bool reached = false;
    bool isOpen = false;
  };
  std::shared_ptr<State> state;
};

}  // namespace tool
