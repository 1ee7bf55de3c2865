#include "espeak_ng/espeak_synthesizer.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace KQ::engines {

namespace {

/// Passes one chunk on to the host while eSpeak NG speaks it.
class ChunkListener : public EspeakTurn::Listener {
 public:
  ChunkListener(const EspeakText& text, Utterance& utterance, std::size_t sourceEnd,
                int samplingRate)
      : text(text),
        utterance(utterance),
        sourceEnd(sourceEnd),
        samplingRate(samplingRate),
        positions(text) {}

  bool take(const short* samples, std::size_t count, const espeak_EVENT* events) override {
    std::size_t told = 0;
    for (; events->type != espeakEVENT_LIST_TERMINATED; ++events) {
      const std::size_t place = placeInBuffer(events->sample, count);
      if (events->type == espeakEVENT_WORD) {
        tellWord(*events, utterance.samplesTold() + place - std::min(place, told));
      } else if (events->type == espeakEVENT_MARK && marksTold <= numberOf(*events)) {
        const std::size_t before = std::max(place, told);
        utterance.tellAudio(samples + told, before - told, samplingRate);
        told = before;
        tellInsertions(numberOf(*events) + 1);
      }
    }
    taken += count;
    return utterance.tellAudio(samples + told, count - told, samplingRate);
  }

  /// Tells the marks and pauses before number `end` that were not told yet.
  void tellInsertions(std::size_t end) {
    for (; marksTold < std::min(end, text.insertions.size()); ++marksTold) {
      const MarkupItem& item = text.insertions[marksTold];
      if (item.kind == MarkupItem::Kind::mark) {
        utterance.tellMark(item.value, utterance.samplesTold());
      } else {
        const auto milliseconds = static_cast<std::uint64_t>(item.value);
        utterance.tellSilence(milliseconds * static_cast<unsigned>(samplingRate) / 1000,
                              samplingRate);
      }
    }
  }

 private:
  /// Where a sample of the chunk stands in the buffer that begins with sample `taken`.
  std::size_t placeInBuffer(int sample, std::size_t count) const {
    const std::uint64_t position = sample < 0 ? 0 : static_cast<std::uint64_t>(sample);
    return position < taken ? 0 : std::min<std::uint64_t>(position - taken, count);
  }

  static std::size_t numberOf(const espeak_EVENT& mark) {
    std::size_t number = 0;
    std::from_chars(mark.id.name, mark.id.name + std::strlen(mark.id.name), number);
    return number;
  }

  void tellWord(const espeak_EVENT& event, std::uint64_t samplePosition) {
    const std::size_t first =
        event.text_position < 1 ? 0 : static_cast<std::size_t>(event.text_position) - 1;
    const std::size_t begin = std::min(positions.offsetOf(first), sourceEnd);
    const std::size_t end = std::min(
        positions.offsetOf(first + static_cast<std::size_t>(std::max(event.length, 0))), sourceEnd);
    // A number that is spoken as several words is one word of the text.
    if (end > begin && begin >= lastWord.textOffset + lastWord.textLength) {
      lastWord = {begin, end - begin, samplePosition};
      utterance.tellWord(lastWord);
    }
  }

  const EspeakText& text;
  Utterance& utterance;
  const std::size_t sourceEnd;  ///< of the chunk
  const int samplingRate;
  SourcePositions positions;
  std::uint64_t taken = 0;    ///< samples that eSpeak NG gave
  std::size_t marksTold = 0;  ///< of text.insertions
  SpeechWord lastWord{0, 0, 0};
};

std::size_t endOf(const TextChunk& chunk) {
  return chunk.empty() ? 0 : chunk.back().offset + chunk.back().length;
}

}  // namespace

void EspeakSynthesizer::speak(SpokenText& text, const SpeechSettings& settings,
                              Utterance& utterance) {
  EspeakTurn turn(utterance);
  utterance.run([&] {
    const std::string voiceFile = library.voiceFile(settings.sourceVoice);
    turn.apply(voiceFile, EspeakParameters(settings));
    chunks.restart(text);
    EspeakTextWriter writer(text, settings, voiceFile);
    while (const TextChunk* chunk = chunks.next()) {
      writer.write(*chunk, written);
      ChunkListener listener(written, utterance, endOf(*chunk), library.samplingRate());
      if (!written.isSilent && !turn.speak(written, listener)) {
        return;
      }
      listener.tellInsertions(written.insertions.size());
      if (utterance.isOver()) {
        return;
      }
    }
  });
}

}  // namespace KQ::engines
