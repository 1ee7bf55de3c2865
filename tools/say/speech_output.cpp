#include "say/speech_output.hpp"

#include <algorithm>

#include "say/audio_sink.hpp"
#include "say/event_writer.hpp"
#include "say/sentence_reader.hpp"
#include "system/failure.hpp"
#include "system/stop_request.hpp"

namespace tool {

namespace {

/// A few hundredths of a second: so long may a stop be held up by a sink.
constexpr std::size_t pieceSamples = 1024;

}  // namespace

SpeechOutput::SpeechOutput(AudioSink& audioSink, EventWriter* eventWriter,
                           const StopRequest& stopRequest)
    : sink(audioSink), events(eventWriter), stop(stopRequest) {}

void SpeechOutput::expect(const Sentence& sentence, int rate) {
  text = sentence.text;
  textOffset = sentence.offset;
  samplingRate = std::max(rate, 1);
  samplesBefore = samplesSpoken;
  lastEnd = SpeechEnd::failed;
}

void SpeechOutput::requireSpoken() {
  if (failure) {
    std::rethrow_exception(failure);
  }
  if (lastEnd != SpeechEnd::finished && !stop.made()) {
    throw Failure("the engine could not speak the text to its end",
                  "run again with --log-level debug to see what it reports");
  }
}

void SpeechOutput::onStart() {
  keepFailure([&] { events->start({samplesBefore, samplingRate}, textOffset, text); });
}

bool SpeechOutput::onAudio(const std::int16_t* samples, std::size_t count, int rate) {
  try {
    if (!failure) {
      writePieces(samples, count, rate);
    }
  } catch (...) {
    failure = std::current_exception();
  }
  return !failure && !stop.made();
}

void SpeechOutput::writePieces(const std::int16_t* samples, std::size_t count, int rate) {
  if (rate <= 0) {
    throw Failure("the engine reports a sampling rate of " + std::to_string(rate) + " Hz",
                  "use another engine or voice");
  }
  while (count > 0 && !stop.made()) {
    const std::size_t piece = std::min(count, pieceSamples);
    sink.write(samples, piece, rate);
    samples += piece;
    count -= piece;
    samplesSpoken += piece;
  }
}

void SpeechOutput::onMark(int number, std::uint64_t samplePosition) {
  keepFailure([&] { events->mark({samplesBefore + samplePosition, samplingRate}, number); });
}

void SpeechOutput::onWord(const SpeechWord& word) {
  keepFailure([&] {
    const std::size_t offset = std::min(word.textOffset, text.size());
    events->word({samplesBefore + word.samplePosition, samplingRate}, textOffset + offset,
                 text.substr(offset, word.textLength));
  });
}

void SpeechOutput::onEnd(SpeechEnd end) {
  lastEnd = end;
  keepFailure([&] { events->end({samplesSpoken, samplingRate}, end); });
}

template <typename Action>
void SpeechOutput::keepFailure(Action action) noexcept {
  if (events == nullptr || failure) {
    return;
  }
  try {
    action();
  } catch (...) {
    failure = std::current_exception();
  }
}

}  // namespace tool
