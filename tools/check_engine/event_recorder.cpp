#include "check_engine/event_recorder.hpp"

#include <algorithm>

namespace tool {

const char* nameOf(SpeechEvent::Kind kind) {
  switch (kind) {
    case SpeechEvent::Kind::start:
      return "onStart";
    case SpeechEvent::Kind::audio:
      return "onAudio";
    case SpeechEvent::Kind::mark:
      return "onMark";
    case SpeechEvent::Kind::word:
      return "onWord";
    case SpeechEvent::Kind::end:
      break;
  }
  return "onEnd";
}

SpeechEvents EventRecorder::events() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return all;
}

SpeechEvents EventRecorder::eventsOf(std::thread::id thread, std::size_t first) const {
  const std::lock_guard<std::mutex> lock(mutex);
  SpeechEvents found;
  std::copy_if(all.begin() + static_cast<std::ptrdiff_t>(first), all.end(),
               std::back_inserter(found),
               [&](const SpeechEvent& event) { return event.thread == thread; });
  return found;
}

std::size_t EventRecorder::count() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return all.size();
}

void EventRecorder::onStart() {
  SpeechEvent event;
  event.kind = SpeechEvent::Kind::start;
  take(event);
}

bool EventRecorder::onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
  SpeechEvent event;
  event.kind = SpeechEvent::Kind::audio;
  event.samples = count;
  event.samplingRate = samplingRate;
  event.withoutData = samples == nullptr && count > 0;
  return take(event);
}

void EventRecorder::onMark(int number, std::uint64_t samplePosition) {
  SpeechEvent event;
  event.kind = SpeechEvent::Kind::mark;
  event.mark = number;
  event.position = samplePosition;
  take(event);
}

void EventRecorder::onWord(const SpeechWord& word) {
  SpeechEvent event;
  event.kind = SpeechEvent::Kind::word;
  event.word = word;
  event.position = word.samplePosition;
  take(event);
}

void EventRecorder::onEnd(SpeechEnd end) {
  SpeechEvent event;
  event.kind = SpeechEvent::Kind::end;
  event.how = end;
  take(event);
}

bool EventRecorder::take(SpeechEvent event) {
  event.thread = std::this_thread::get_id();
  {
    const std::lock_guard<std::mutex> lock(mutex);
    all.push_back(event);
  }
  return !reaction || reaction(event);
}

}  // namespace tool
