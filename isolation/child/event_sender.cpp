#include "isolation/child/event_sender.hpp"

#include <algorithm>

namespace KQ::isolation {

namespace {

/// How far the engine may be ahead of what the host has taken.
std::uint64_t windowOf(int samplingRate) {
  constexpr std::uint64_t inSecond = 5;  // 200 ms
  return samplingRate > 0 ? static_cast<std::uint64_t>(samplingRate) / inSecond : 3200;
}

}  // namespace

std::uint64_t EventSender::utterance(const SpeechTable& speeches) {
  // An engine may have threads of its own; the contract has it report from the one that started.
  const std::uint64_t own = HostLink::currentCall();
  return own != 0 ? own : speeches.onlyOne();
}

bool EventSender::goesOn(Course course) const {
  if (course == Course::failed) {
    throw HostFailure();
  }
  return course == Course::speaking;
}

bool EventSender::beginEvent(Record kind, Encoder& record) {
  if (!goesOn(speeches.awaitTurn(utterance(speeches), 0, 0))) {
    return false;
  }
  record.put(kind);
  return true;
}

void EventSender::finishEvent(const Encoder& record) const {
  link.reportOf(utterance(speeches), record.bytes());
}

void EventSender::onStart() {
  Encoder record;
  record.put(Record::start);
  finishEvent(record);
  if (speeches.course(utterance(speeches)) != Course::speaking) {
    // The stop may have come before the engine knew of this utterance.
    stopEngine();
  }
}

bool EventSender::onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
  const std::size_t largest =
      std::min<std::size_t>(samplesInPacket, std::max<std::uint64_t>(windowOf(samplingRate), 1));
  bool goesOn = true;
  do {
    const std::size_t some = std::min(count, largest);
    goesOn = sendAudio(samples, some, samplingRate);
    samples += some;
    count -= some;
  } while (goesOn && count > 0);
  return goesOn;
}

bool EventSender::sendAudio(const std::int16_t* samples, std::size_t count, int samplingRate) {
  const std::uint64_t number = utterance(speeches);
  if (!goesOn(speeches.awaitTurn(number, count, windowOf(samplingRate)))) {
    return false;
  }
  Encoder record;
  record.put(Record::audio);
  record.put(std::uint8_t{0});  // keeps the samples aligned
  record.put(samplingRate);
  link.reportOf(number, record.bytes(),
                {reinterpret_cast<const char*>(samples), count * sizeof *samples});
  return true;
}

void EventSender::onMark(int number, std::uint64_t samplePosition) {
  Encoder record;
  if (beginEvent(Record::mark, record)) {
    record.put(number);
    record.put(samplePosition);
    finishEvent(record);
    // What the host does at a mark holds from there on.
    goesOn(speeches.awaitTaken(utterance(speeches)));
  }
}

void EventSender::onWord(const SpeechWord& word) {
  Encoder record;
  if (beginEvent(Record::word, record)) {
    record.put(std::uint64_t{word.textOffset});
    record.put(std::uint64_t{word.textLength});
    record.put(word.samplePosition);
    finishEvent(record);
  }
}

void EventSender::onEnd(SpeechEnd end) {
  Encoder record;
  record.put(Record::end);
  record.put(end);
  finishEvent(record);
}

void PhonemeSender::onPhoneme(const SpeechPhoneme& phoneme) {
  Encoder record;
  if (beginEvent(Record::phoneme, record)) {
    record.put(phoneme.name);
    record.put(phoneme.samplePosition);
    record.put(phoneme.sampleCount);
    finishEvent(record);
  }
}

}  // namespace KQ::isolation
