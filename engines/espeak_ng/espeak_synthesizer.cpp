#include "espeak_ng/espeak_synthesizer.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include "engine/warning.hpp"
#include "japanese/japanese_rewriter.hpp"
#include "text/language_rewriter.hpp"

namespace KQ::engines {

namespace {

/// Passes one chunk on to the host while eSpeak NG speaks it.
class ChunkListener : public EspeakListener {
 public:
  ChunkListener(const EspeakText& text, Utterance& utterance, std::size_t sourceEnd,
                int samplingRate)
      : text(text),
        utterance(utterance),
        sourceEnd(sourceEnd),
        samplingRate(samplingRate),
        positions(text) {}

  bool take(const short* samples, std::size_t count, const espeak_EVENT* events) override {
    std::size_t emitted = 0;
    for (; events->type != espeakEVENT_LIST_TERMINATED; ++events) {
      const std::size_t place = placeInBuffer(events->sample, count);
      if (events->type == espeakEVENT_WORD) {
        emitWord(*events, utterance.samplesEmitted() + place - std::min(place, emitted));
      } else if (events->type == espeakEVENT_MARK && insertionsEmitted <= numberOf(*events)) {
        const std::size_t before = std::max(place, emitted);
        utterance.emitAudio(samples + emitted, before - emitted, samplingRate);
        emitted = before;
        emitInsertions(numberOf(*events) + 1);
      }
    }
    taken += count;
    return utterance.emitAudio(samples + emitted, count - emitted, samplingRate);
  }

  /// Emits the marks and pauses before number `end` that were not emitted yet.
  void emitInsertions(std::size_t end) {
    for (; insertionsEmitted < std::min(end, text.insertions.size()); ++insertionsEmitted) {
      utterance.emitInsertion(text.insertions[insertionsEmitted], samplingRate);
    }
  }

 private:
  /// Returns the place of a sample of the chunk in the buffer that begins with sample `taken`.
  std::size_t placeInBuffer(int sample, std::size_t count) const {
    const std::uint64_t position = sample < 0 ? 0 : static_cast<std::uint64_t>(sample);
    return position < taken ? 0 : std::min<std::uint64_t>(position - taken, count);
  }

  static std::size_t numberOf(const espeak_EVENT& mark) {
    std::size_t number = 0;
    std::from_chars(mark.id.name, mark.id.name + std::strlen(mark.id.name), number);
    return number;
  }

  void emitWord(const espeak_EVENT& event, std::uint64_t samplePosition) {
    const std::size_t first =
        event.text_position < 1 ? 0 : static_cast<std::size_t>(event.text_position) - 1;
    const std::size_t begin = std::min(positions.offsetOf(first), sourceEnd);
    const std::size_t end = std::min(
        positions.offsetOf(first + static_cast<std::size_t>(std::max(event.length, 0))), sourceEnd);
    // A number that is spoken as several words is one word of the text.
    if (end > begin && begin >= lastWord.textOffset + lastWord.textLength) {
      lastWord = {begin, end - begin, samplePosition};
      utterance.emitWord(lastWord);
    }
  }

  const EspeakText& text;
  Utterance& utterance;
  const std::size_t sourceEnd;  ///< of the chunk
  const int samplingRate;
  SourcePositions positions;
  std::uint64_t taken = 0;            ///< samples received from eSpeak NG
  std::size_t insertionsEmitted = 0;  ///< of text.insertions
  SpeechWord lastWord{0, 0, 0};
};

std::size_t endOf(const TextChunk& chunk) {
  return chunk.empty() ? 0 : chunk.back().offset + chunk.back().length;
}

/// Says once in a process that kanji cannot be read.
void warnOfMissingDictionary() {
  static std::once_flag warned;
  std::call_once(warned, [] {
    warn(espeakLogCategory,
         std::string("Kanji are not read, since MeCab has no dictionary: install ") +
             JapaneseRewriter::dictionaryPackage);
  });
}

}  // namespace

std::unique_ptr<TextRewriter> EspeakSynthesizer::rewriter(const std::string& sourceVoice) const {
  const std::string language = languageOfVoice(library.voiceFile(sourceVoice));
  std::unique_ptr<TextRewriter> rewriter = std::make_unique<LanguageRewriter>(language);
  if (language != "ja") {
    return rewriter;
  }
  if (!JapaneseRewriter::hasDictionary()) {
    warnOfMissingDictionary();
  }
  return std::make_unique<JapaneseRewriter>(std::move(rewriter));
}

void EspeakSynthesizer::speak(SpokenText& text, const SpeechSettings& settings,
                              Utterance& utterance) {
  const EspeakVoice voice{library.voiceFile(settings.sourceVoice), EspeakParameters(settings)};
  chunks.restart(text);
  EspeakTextWriter writer(text, settings, voice.file);
  while (const TextChunk* chunk = chunks.next()) {
    writer.write(*chunk, written);
    ChunkListener listener(written, utterance, endOf(*chunk), library.samplingRate());
    if (!written.isSilent && !library.speak(written, voice, listener)) {
      return;
    }
    listener.emitInsertions(written.insertions.size());
    if (utterance.isOver()) {
      return;
    }
  }
}

}  // namespace KQ::engines
