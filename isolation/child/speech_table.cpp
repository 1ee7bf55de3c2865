#include "isolation/child/speech_table.hpp"

#include <algorithm>

namespace KQ::isolation {

namespace {

using Lock = std::unique_lock<std::mutex>;

/// So many words and marks may be ahead, whatever audio is: they fit into the socket.
constexpr std::uint64_t recordsAhead = 100;

}  // namespace

SpeechTable::Speech* SpeechTable::find(std::uint64_t number) {
  const auto found = speeches.find(number);
  return found == speeches.end() ? nullptr : &found->second;
}

void SpeechTable::begin(std::uint64_t number) {
  const Lock lock(mutex);
  Speech& speech = speeches[number];
  speech.number = number;
  speech.course = number <= lastStopped ? Course::stopped : Course::speaking;
}

void SpeechTable::end(std::uint64_t number) {
  const Lock lock(mutex);
  speeches.erase(number);
}

std::uint64_t SpeechTable::onlyOne() const {
  const Lock lock(mutex);
  return speeches.size() == 1 ? speeches.begin()->first : 0;
}

void SpeechTable::stopUpTo(std::uint64_t number) {
  const Lock lock(mutex);
  lastStopped = std::max(lastStopped, number);
  for (auto& [other, speech] : speeches) {
    if (other <= number && speech.course == Course::speaking) {
      speech.course = Course::stopped;
    }
  }
  changed.notify_all();
}

void SpeechTable::cancel(std::uint64_t number, Course how) {
  const Lock lock(mutex);
  if (Speech* const speech = find(number)) {
    speech->course = how;
  }
  changed.notify_all();
}

void SpeechTable::taken(std::uint64_t number, std::uint64_t samples, std::uint64_t records) {
  const Lock lock(mutex);
  if (Speech* const speech = find(number)) {
    speech->samplesTaken = std::max(speech->samplesTaken, samples);
    speech->recordsTaken = std::max(speech->recordsTaken, records);
  }
  changed.notify_all();
}

Course SpeechTable::awaitTurn(std::uint64_t number, std::uint64_t samples, std::uint64_t window) {
  Lock lock(mutex);
  Speech* speech = find(number);
  if (speech == nullptr) {
    return Course::stopped;
  }
  changed.wait(lock, [&] {
    const std::uint64_t ahead = speech->samplesSent - speech->samplesTaken;
    const bool hasRoom = ahead == 0 || samples == 0 || ahead + samples <= window;
    return isReleased || speech->course != Course::speaking ||
           (hasRoom && speech->recordsSent - speech->recordsTaken < recordsAhead);
  });
  speech->samplesSent += samples;
  ++speech->recordsSent;
  return speech->course;
}

Course SpeechTable::awaitTaken(std::uint64_t number) {
  Lock lock(mutex);
  Speech* const speech = find(number);
  if (speech == nullptr) {
    return Course::stopped;
  }
  changed.wait(lock, [&] {
    return isReleased || speech->course != Course::speaking ||
           speech->recordsTaken >= speech->recordsSent;
  });
  return speech->course;
}

void SpeechTable::releaseAll(bool release) {
  const Lock lock(mutex);
  isReleased = release;
  changed.notify_all();
}

Course SpeechTable::course(std::uint64_t number) const {
  const Lock lock(mutex);
  const auto found = speeches.find(number);
  return found == speeches.end() ? Course::stopped : found->second.course;
}

}  // namespace KQ::isolation
