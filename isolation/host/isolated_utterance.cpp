#include "isolation/host/isolated_utterance.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace KQ::isolation {

namespace {

TextToSpeechEngineCallbackInterface* orNobody(TextToSpeechEngineCallbackInterface* callback) {
  static TextToSpeechEngineCallbackInterface nobody;
  return callback != nullptr ? callback : &nobody;
}

// As the child's Course.
constexpr std::uint8_t refusedByHost = 2;
constexpr std::uint8_t failedInHost = 3;

}  // namespace

Utterance::Utterance(std::string_view spokenText, TextToSpeechEngineCallbackInterface* host,
                     const SpeechControl& engineControl)
    : text(spokenText),
      progress(spokenText),
      callback(orNobody(host)),
      phonemes(dynamic_cast<PhonemeCallback*>(host)),
      control(engineControl),
      stopsBefore(engineControl.stops) {}

SpeechProgress::Piece Utterance::nextPiece() {
  SpeechProgress::Piece piece = progress.piece();
  isLastPiece = piece.isLast;
  pieceEnd = SpeechEnd::finished;
  hasPieceEnded = false;
  samplesTaken = recordsTaken = samplesTold = recordsTold = 0;
  return piece;
}

Clock::time_point Utterance::silentBy() const {
  const Clock::time_point stopped{Clock::duration(control.lastStop.load())};
  return std::min(overSince, isStopped() ? stopped : never - stopPatience) + stopPatience;
}

// Records -------------------------------------------------------------------------------------

void Utterance::hear(Record kind, Decoder& record, EngineProcess& engine,
                     Channel::Conversation& talk) {
  engine.noteProgress();
  switch (kind) {
    case Record::start:
      return hearStart(engine, talk);
    case Record::audio:
      return hearAudio(record, engine, talk);
    case Record::word:
      return hearWord(record, engine, talk);
    case Record::mark:
      return hearMark(record, engine, talk);
    case Record::phoneme:
      return hearPhoneme(record, engine, talk);
    case Record::end:
      return hearEnd(record);
    case Record::log:
    case Record::locale:
    case Record::standing:
    case Record::result:
    case Record::kqError:
    case Record::foreignError:
      throw ProtocolError("a record is none of speech");
  }
}

template <typename Tell>
void Utterance::tell(EngineProcess& engine, Channel::Conversation& talk, Tell tellHost) {
  try {
    const EngineProcess::Stay stay(engine);
    tellHost();
  } catch (...) {
    failure = std::current_exception();
    cancel(engine, talk, failedInHost);
  }
}

void Utterance::cancel(EngineProcess& engine, const Channel::Conversation& talk, std::uint8_t how) {
  overSince = std::min(overSince, Clock::now());
  Encoder body;
  body.put(how);
  Header header;
  header.kind = Kind::cancel;
  header.number = talk.number();
  engine.channel.send(header, {body.bytes()});
}

bool Utterance::hold(EngineProcess& engine, Channel::Conversation& talk) const {
  if (control.isHeld && !isStopped()) {
    const EngineProcess::Stay stay(engine);
    talk.awaitCondition([&] { return !control.isHeld || isStopped(); });
  }
  return !isOver() && !hasPieceEnded;
}

void Utterance::hearStart(EngineProcess& engine, Channel::Conversation& talk) {
  if (!isStarted) {
    isStarted = true;
    tell(engine, talk, [&] { callback->onStart(); });
  }
}

void Utterance::hearAudio(Decoder& record, EngineProcess& engine, Channel::Conversation& talk) {
  record.get<std::uint8_t>();
  const auto rate = record.get<int>();
  const std::string_view bytes = record.takeRest();
  const std::size_t count = bytes.size() / sizeof(std::int16_t);
  if (!hold(engine, talk)) {
    return;
  }
  const auto* const samples = reinterpret_cast<const std::int16_t*>(bytes.data());
  tell(engine, talk, [&] {
    if (!callback->onAudio(samples, count, rate)) {
      isRefused = true;
      cancel(engine, talk, refusedByHost);
    }
  });
  progress.taken(count, rate);
  acknowledge(count, rate, engine, talk);
}

void Utterance::hearWord(Decoder& record, EngineProcess& engine, Channel::Conversation& talk) {
  SpeechWord word{};
  word.textOffset = record.get<std::uint64_t>();
  word.textLength = record.get<std::uint64_t>();
  word.samplePosition = record.get<std::uint64_t>();
  if (hold(engine, talk)) {
    if (const auto told = progress.word(word)) {
      tell(engine, talk, [&] { callback->onWord(*told); });
    }
    acknowledge(0, 0, engine, talk);
  }
}

void Utterance::hearMark(Decoder& record, EngineProcess& engine, Channel::Conversation& talk) {
  const auto number = record.get<int>();
  const auto position = record.get<std::uint64_t>();
  if (hold(engine, talk)) {
    if (progress.mark(number)) {
      tell(engine, talk, [&] { callback->onMark(number, progress.position(position)); });
    }
    acknowledge(0, 0, engine, talk, true);
  }
}

void Utterance::hearPhoneme(Decoder& record, EngineProcess& engine, Channel::Conversation& talk) {
  const auto name = record.get<std::string>();
  const auto position = record.get<std::uint64_t>();
  const auto count = record.get<std::uint64_t>();
  if (hold(engine, talk)) {
    if (phonemes != nullptr) {
      tell(engine, talk, [&] { phonemes->onPhoneme({name, progress.position(position), count}); });
    }
    acknowledge(0, 0, engine, talk);
  }
}

void Utterance::hearEnd(Decoder& record) {
  const auto end = record.getEnum(SpeechEnd::failed);
  if (hasPieceEnded) {
    return;
  }
  hasPieceEnded = true;
  pieceEnd = end;
  if (!isOver() && isStarted && (isLastPiece || pieceEnd != SpeechEnd::finished)) {
    tellEnd(pieceEnd);
  }
}

void Utterance::acknowledge(std::size_t samples, int rate, EngineProcess& engine,
                            const Channel::Conversation& talk, bool isAwaited) {
  samplesTaken += samples;
  ++recordsTaken;
  constexpr std::uint64_t recordsAtOnce = 32;
  constexpr std::uint64_t samplesInSecond = 20;  // 50 ms
  const bool isDue =
      isAwaited || recordsTaken - recordsTold >= recordsAtOnce ||
      (samples > 0 && samplesTaken - samplesTold >=
                          static_cast<std::uint64_t>(std::max(rate, 0)) / samplesInSecond);
  if (!isDue || isOver()) {
    return;
  }
  samplesTold = samplesTaken;
  recordsTold = recordsTaken;
  const std::array<std::uint64_t, 2> numbers{samplesTaken, recordsTaken};
  Header header;
  header.kind = Kind::taken;
  header.number = talk.number();
  engine.channel.send(header, {{reinterpret_cast<const char*>(numbers.data()), sizeof numbers}});
}

// The end -------------------------------------------------------------------------------------

void Utterance::pieceReturned() {
  if (isEnded || pieceEnd != SpeechEnd::finished) {
    isDone = true;
  }
  progress.pieceSaid();
}

void Utterance::fail(const std::exception_ptr& error) {
  if (failure == nullptr) {
    failure = error;
  }
  isDone = true;
}

bool Utterance::engineDied() {
  return progress.engineDied();
}

void Utterance::tellEnd(SpeechEnd end) {
  isEnded = true;
  try {
    callback->onEnd(end);
  } catch (...) {
    if (failure == nullptr) {
      failure = std::current_exception();
    }
  }
}

void Utterance::finish() {
  const bool isCutShort = isStopped() || isRefused;
  try {
    if (!isStarted && isStopped() && failure == nullptr) {
      // Stopped before the engine knew of it.
      isStarted = true;
      callback->onStart();
    }
  } catch (...) {
    failure = std::current_exception();
  }
  if (isStarted && !isEnded) {
    tellEnd(failure != nullptr ? SpeechEnd::failed : isCutShort ? SpeechEnd::stopped : pieceEnd);
  }
  if (failure != nullptr) {
    std::rethrow_exception(failure);
  }
}

}  // namespace KQ::isolation
