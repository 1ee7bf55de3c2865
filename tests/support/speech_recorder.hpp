#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <kq/speech_callback.hpp>
#include <mutex>
#include <string>
#include <vector>

#include "support/audio.hpp"
#include "support/latch.hpp"

namespace test {

/// An event that the engine reported to the host.
struct SpeechEvent {
  enum class Kind { start, audio, word, mark, end };

  Kind kind;
  std::size_t count = 0;              ///< audio: samples
  int number = 0;                     ///< mark
  SpeechWord word{0, 0, 0};           ///< word; also holds the position of a mark
  SpeechEnd end = SpeechEnd::failed;  ///< end
};

/// A host that records all events. Can be read at any time.
class SpeechRecorder : public TextToSpeechEngineCallbackInterface {
 public:
  void onStart() override { add({SpeechEvent::Kind::start}); }

  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      audio.insert(audio.end(), samples, samples + count);
      rate = samplingRate;
    }
    SpeechEvent event{SpeechEvent::Kind::audio};
    event.count = count;
    add(event);
    firstAudio.open();
    return !atAudio || atAudio();
  }

  void onMark(int number, std::uint64_t samplePosition) override {
    SpeechEvent event{SpeechEvent::Kind::mark};
    event.number = number;
    event.word.samplePosition = samplePosition;
    add(event);
    if (atMark) {
      atMark();
    }
  }

  void onWord(const SpeechWord& word) override {
    SpeechEvent event{SpeechEvent::Kind::word};
    event.word = word;
    add(event);
  }

  void onEnd(SpeechEnd end) override {
    SpeechEvent event{SpeechEvent::Kind::end};
    event.end = end;
    add(event);
  }

  std::vector<SpeechEvent> events() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return told;
  }

  std::vector<SpeechEvent> events(SpeechEvent::Kind kind) const {
    std::vector<SpeechEvent> all = events();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const SpeechEvent& event) { return event.kind != kind; }),
              all.end());
    return all;
  }

  std::vector<SpeechEnd> ends() const {
    std::vector<SpeechEnd> all;
    for (const SpeechEvent& event : events(SpeechEvent::Kind::end)) {
      all.push_back(event.end);
    }
    return all;
  }

  /// The reported words, as they are in the text.
  std::vector<std::string> words(const std::string& text) const {
    std::vector<std::string> all;
    for (const SpeechEvent& event : events(SpeechEvent::Kind::word)) {
      all.push_back(text.substr(event.word.textOffset, event.word.textLength));
    }
    return all;
  }

  Samples samples() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return audio;
  }

  int samplingRate() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return rate;
  }

  Latch firstAudio;  ///< opens after the first audio

  // Called by the speaking thread. Set these before it speaks.
  std::function<bool()> atAudio;  ///< returns what onAudio() returns
  std::function<void()> atMark;

 private:
  void add(const SpeechEvent& event) {
    const std::lock_guard<std::mutex> lock(mutex);
    told.push_back(event);
  }

  mutable std::mutex mutex;
  std::vector<SpeechEvent> told;
  Samples audio;
  int rate = 0;
};

}  // namespace test
