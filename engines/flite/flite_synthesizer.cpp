#include "flite/flite_synthesizer.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "flite/phone_names.hpp"

namespace KQ::engines {

namespace {

/// Passes one phrase on to the host while Flite speaks it.
class PhraseListener : public FliteListener {
 public:
  PhraseListener(const FlitePhrase& phrase, Utterance& utterance, float level, int samplingRate)
      : phrase(phrase), utterance(utterance), level(level), samplingRate(samplingRate) {}

  void begin(const FlitePlaces& found) noexcept override {
    places = found;
    phone = utterance.wantsPhonemes() ? 0 : places.phones.size();
    // There is no silence between the phrases of a sentence.
    audibleBegin = phrase.continues ? places.speechBegin : 0;
    audibleEnd = phrase.isContinued ? places.speechEnd : std::numeric_limits<std::size_t>::max();
  }

  bool take(const std::int16_t* samples, std::size_t count) noexcept override {
    const std::size_t end = taken + count;
    for (;;) {
      const std::size_t word = token < places.tokens.size() ? places.tokens[token] : end;
      const std::size_t sound = phone < places.phones.size() ? places.phones[phone].place : end;
      if (std::min(word, sound) >= end) {
        break;
      }
      emitTo(std::min(word, sound), samples);
      if (word <= sound) {
        emitToken();
      } else {
        emitPhone();
      }
    }
    emitTo(end, samples);
    taken = end;
    return !utterance.isOver();
  }

  /// Emits the rest: words and tags after the last audio.
  void finish() noexcept {
    while (token < phrase.tokens.size()) {
      emitToken();
    }
    emitInsertions(phrase.insertions);
  }

 private:
  /// Emits the audio up to a place. \param samples  those from `taken` on
  void emitTo(std::size_t place, const std::int16_t* samples) noexcept {
    const std::size_t from = std::max({emitted, taken, audibleBegin});
    const std::size_t to = std::min(place, audibleEnd);
    if (to > from) {
      passOn(samples + (from - taken), to - from);
      emitted = to;
    }
  }

  void passOn(const std::int16_t* samples, std::size_t count) noexcept {
    const float gain =
        level * static_cast<float>(phrase.tokens[token == 0 ? 0 : token - 1].prosody.volume) / 100;
    louder.resize(count);
    std::transform(samples, samples + count, louder.begin(), [=](std::int16_t sample) {
      return static_cast<std::int16_t>(
          std::lround(std::clamp(static_cast<float>(sample) * gain, -32768.F, 32767.F)));
    });
    const auto most = static_cast<std::size_t>(samplingRate / 25);
    for (std::size_t begin = 0; begin < count && !utterance.isOver(); begin += most) {
      utterance.emitAudio(louder.data() + begin, std::min(most, count - begin), samplingRate);
    }
  }

  void emitToken() noexcept {
    const FliteToken& word = phrase.tokens[token++];
    emitInsertions(word.insertions);
    utterance.emitWord({word.offset, word.length, utterance.samplesEmitted()});
  }

  void emitPhone() noexcept {
    const FlitePhone& sound = places.phones[phone++];
    if (sound.place >= audibleBegin && sound.place < audibleEnd) {
      utterance.emitPhoneme(ipaOf(sound.name), utterance.samplesEmitted());
    }
  }

  void emitInsertions(const std::vector<MarkupItem>& insertions) noexcept {
    for (const MarkupItem& item : insertions) {
      utterance.emitInsertion(item, samplingRate);
    }
  }

  const FlitePhrase& phrase;
  Utterance& utterance;
  const float level;
  const int samplingRate;
  FlitePlaces places;
  std::size_t audibleBegin = 0;
  std::size_t audibleEnd = 0;
  std::size_t taken = 0;    ///< samples received from Flite before the present ones
  std::size_t emitted = 0;  ///< samples from Flite that were emitted or left out
  std::size_t token = 0;    ///< the next one to emit
  std::size_t phone = 0;    ///< the next one to emit
  std::vector<std::int16_t> louder;
};

}  // namespace

void FliteSynthesizer::speak(SpokenText& text, const SpeechSettings& settings,
                             Utterance& utterance) {
  FliteText phrases(text);
  std::optional<FlitePhrase> phrase;
  while (!utterance.isOver() && (phrase = phrases.next())) {
    PhraseListener listener(*phrase, utterance, std::clamp(settings.level, 0.F, 4.F),
                            library.samplingRate(settings.sourceVoice));
    if (!phrase->tokens.empty()) {
      const float tagged = static_cast<float>(phrase->tokens.front().prosody.pitch) / 100;
      const float pitch = std::clamp(settings.pitch * tagged, 0.25F, 4.F);
      library.speak(*phrase, {settings.sourceVoice, settings.speed, pitch}, listener);
    }
    listener.finish();
  }
}

}  // namespace KQ::engines
