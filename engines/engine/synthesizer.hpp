#pragma once

#include <map>
#include <memory>
#include <string>

#include "engine/turn_queue.hpp"
#include "engine/utterance.hpp"
#include "text/spoken_text.hpp"
#include "text/text_rewriter.hpp"

namespace KQ::engines {

/// How a text is to sound.
struct SpeechSettings {
  std::string sourceVoice;              ///< the synthesiser's name of the voice
  float speed = 100;                    ///< percent of the voice's normal speed
  float pitch = 1;                      ///< factor
  float level = 1;                      ///< factor
  std::map<std::string, float> more{};  ///< the engine's own parameters
};

/// A synthesiser that is ready to speak. One engine uses it, from several threads at once; the
/// engine drops it when it is shut down and its last utterance has ended.
class Synthesizer {
 public:
  virtual ~Synthesizer() = default;

  /// The sampling rate of a voice that the synthesiser has, in Hz.
  virtual int samplingRate(const std::string& sourceVoice) const = 0;

  /// Whether the synthesiser has a voice of that name.
  virtual bool hasVoice(const std::string& sourceVoice) const = 0;

  /// Returns what rewrites a text for a voice, or null to leave it as it is. Serves one utterance.
  virtual std::unique_ptr<TextRewriter> rewriter(const std::string& /*sourceVoice*/) const {
    return nullptr;
  }

  /// How much of a change of pitch the synthesiser makes itself. The engine shifts the pitch of the
  /// audio by the rest.
  /// \param factor  0.25 to 4, the product of all changes except inline tags
  virtual float ownPitchShift(float factor) const { return factor; }

  /// The queue for the right to speak. The engine holds a turn of it during each utterance.
  virtual TurnQueue& turns() = 0;

  /// Reads a text with its inline tags, and emits its audio, words and marks, until the text ends
  /// or utterance.isOver(). The engine takes the turn and reports start and end. The text may hold
  /// any bytes.
  /// \throws KQError when it cannot speak
  virtual void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) = 0;

  /// Called in place of speak() if the utterance is over before it speaks: it was stopped while it
  /// waited for its turn, or the host's onStart() failed.
  virtual void skip(SpokenText& /*text*/, const SpeechSettings& /*settings*/) {}
};

}  // namespace KQ::engines
