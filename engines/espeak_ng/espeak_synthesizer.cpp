#include "espeak_ng/espeak_synthesizer.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "engine/warning.hpp"
#include "japanese/japanese_rewriter.hpp"
#include "text/language_rewriter.hpp"
#include "text/text_places.hpp"

namespace KQ::engines {

namespace {

std::size_t endOf(const TextChunk& chunk) {
  return chunk.empty() ? 0 : chunk.back().offset + chunk.back().length;
}

/// Passes one chunk on to the host while eSpeak NG speaks it.
class ChunkListener : public EspeakListener {
 public:
  /// \param source  of the chunk
  ChunkListener(const EspeakText& text, const SpokenText& source, const TextChunk& chunk,
                const EspeakVoice& voice, Utterance& utterance, int samplingRate)
      : text(text),
        source(source),
        chunk(chunk),
        language(languageOfVoice(voice.file)),
        utterance(utterance),
        sourceEnd(endOf(chunk)),
        samplingRate(samplingRate),
        positions(text) {}

  bool take(const short* samples, std::size_t count, const espeak_EVENT* events) override {
    std::size_t emitted = 0;
    for (; events->type != espeakEVENT_LIST_TERMINATED; ++events) {
      const std::size_t place = placeInBuffer(events->sample, count);
      if (events->type == espeakEVENT_WORD) {
        emitWord(*events, utterance.samplesEmitted() + place - std::min(place, emitted));
      } else if (events->type == espeakEVENT_PHONEME) {
        emitPhoneme(*events, utterance.samplesEmitted() + place - std::min(place, emitted));
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

  /// eSpeak NG reports some words only as a part of the one before them: "In the end" is "In" and
  /// "end". Emits those that stand before a place, which is the next word's or the end of the
  /// chunk.
  void emitJoined(std::size_t end, std::uint64_t samplePosition) {
    for (; itemsLookedAt < chunk.size() && chunk[itemsLookedAt].offset < end; ++itemsLookedAt) {
      const MarkupItem& item = chunk[itemsLookedAt];
      const std::size_t itemEnd = item.offset + item.length;
      const std::size_t from = std::max(item.offset, emittedEnd());
      if (item.kind == MarkupItem::Kind::text && from < std::min(itemEnd, end)) {
        const bool isWhole = itemEnd <= end && (itemEnd < end || end == sourceEnd);
        emitWords(from, std::min(itemEnd, end), isWhole, samplePosition);
      }
      if (itemEnd > end) {
        return;
      }
    }
  }
  void emitJoinedAtEnd() { emitJoined(sourceEnd, utterance.samplesEmitted()); }

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

  void emitPhoneme(const espeak_EVENT& event, std::uint64_t samplePosition) {
    const std::string_view name(event.id.string,
                                ::strnlen(event.id.string, sizeof event.id.string));
    const bool isPause = name.empty() || name.front() == '_';
    utterance.emitPhoneme(isPause ? "" : name, samplePosition);
  }

  void emitWord(const espeak_EVENT& event, std::uint64_t samplePosition) {
    const std::size_t first =
        event.text_position < 1 ? 0 : static_cast<std::size_t>(event.text_position) - 1;
    const std::size_t begin = wordBegin(std::min(positions.offsetOf(first), sourceEnd));
    const std::size_t end = std::min(
        positions.offsetOf(first + static_cast<std::size_t>(std::max(event.length, 0))), sourceEnd);
    // A number that is spoken as several words is one word of the text.
    if (end > begin && begin >= emittedEnd()) {
      emitJoined(begin, samplePosition);
      emit(begin, end, samplePosition);
    }
  }

  /// After a mark, a joined word is reported one character late. Returns where it begins.
  std::size_t wordBegin(std::size_t place) const {
    const auto item = std::find_if(chunk.begin(), chunk.end(), [&](const MarkupItem& some) {
      return place < some.offset + some.length;
    });
    if (!text.isMarkup || item == chunk.end() || item->kind != MarkupItem::Kind::text) {
      return place;
    }
    const std::size_t limit = std::max(item->offset, emittedEnd());
    while (place > limit) {
      const TextCharacter before =
          characterBefore(source.view(limit, place - limit), place - limit);
      if (!isAlphanumeric(before.point)) {
        break;
      }
      place -= before.length;
    }
    return place;
  }

  /// In markup, the last word of a text comes with its full stop.
  void emit(std::size_t begin, std::size_t end, std::uint64_t samplePosition) {
    const std::string_view word = source.view(begin, end - begin);
    const std::size_t last = word.find_last_not_of(".,;:!?");
    const bool hasStop = text.isMarkup && last != std::string_view::npos;
    lastWord = {begin, hasStop ? last + 1 : word.size(), samplePosition};
    utterance.emitWord(lastWord);
  }

  /// Emits the words of a part of the source that have blanks on both sides.
  /// \param isWhole  what follows the part is no word
  void emitWords(std::size_t begin, std::size_t end, bool isWhole, std::uint64_t samplePosition) {
    const std::string_view part = source.view(begin, end - begin);
    std::size_t first = 0;
    std::size_t last = 0;  // where the word ends; 0 for none
    bool belongsToEmitted = begin == emittedEnd() && begin > 0;
    for (std::size_t place = 0; place <= part.size();) {
      const TextCharacter character = characterAt(part, place);
      const bool isEnd =
          KQ::engines::isBlank(character.point) || (character.length == 0 && isWhole);
      if (isEnd && last > 0) {
        emit(begin + first, begin + last, samplePosition);
        last = 0;
      }
      belongsToEmitted = belongsToEmitted && !isEnd;
      const bool isLetter = isAlphanumeric(character.point) &&
                            (text.changesVoice || isRead(character.point, language));
      if (isLetter && !belongsToEmitted) {
        first = last > 0 ? first : place;
        last = place + character.length;
      }
      place += std::max<std::size_t>(character.length, 1);
    }
  }

  std::size_t emittedEnd() const { return lastWord.textOffset + lastWord.textLength; }

  const EspeakText& text;
  const SpokenText& source;
  const TextChunk& chunk;
  const std::string language;
  Utterance& utterance;
  const std::size_t sourceEnd;  ///< of the chunk
  const int samplingRate;
  SourcePositions positions;
  std::uint64_t taken = 0;            ///< samples received from eSpeak NG
  std::size_t insertionsEmitted = 0;  ///< of text.insertions
  std::size_t itemsLookedAt = 0;      ///< of chunk
  SpeechWord lastWord{0, 0, 0};
};

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
  ScriptVoices::Finder otherVoices = [this](const std::string& name) {
    return library.voiceFile(name);
  };
  const bool usesOthers = settings.more.at(parameters::otherScripts.name) != 0;
  EspeakTextWriter writer(text, settings, voice.file,
                          usesOthers ? std::move(otherVoices) : ScriptVoices::Finder());
  while (const TextChunk* chunk = chunks.next()) {
    writer.write(*chunk, written);
    ChunkListener listener(written, text, *chunk, voice, utterance, library.samplingRate());
    if (!written.isSilent && !library.speak(written, voice, listener)) {
      return;
    }
    listener.emitJoinedAtEnd();
    listener.emitInsertions(written.insertions.size());
    if (utterance.isOver()) {
      return;
    }
  }
}

}  // namespace KQ::engines
