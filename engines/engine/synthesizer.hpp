#pragma once

#include <map>
#include <string>

#include "engine/utterance.hpp"

namespace KQ::engines {

/// How a text is to sound.
struct SpeechSettings {
  std::string sourceVoice;              ///< the synthesiser's name of the voice
  float speed = 100;                    ///< percent of the voice's normal speed
  float pitch = 1;                      ///< factor
  float level = 1;                      ///< factor
  std::map<std::string, float> more{};  ///< the engine's own parameters
};

/// A synthesiser, ready to speak. One engine uses it, from several threads at once; dropped when
/// the engine is shut down and the last utterance has ended.
class Synthesizer {
 public:
  virtual ~Synthesizer() = default;

  /// The sampling rate of a voice that it has, in Hz.
  virtual int samplingRate(const std::string& sourceVoice) const = 0;

  /// Whether it has a voice of that name.
  virtual bool hasVoice(const std::string& sourceVoice) const = 0;

  /// The language in which it reads with a voice, as a locale calls it: signs are written as words of
  /// it. "" leaves the text as it is.
  virtual std::string language(const std::string& /*sourceVoice*/) const { return ""; }

  /// How much of a change of pitch it can make itself; the rest is made of its audio.
  /// \param factor  0.25 to 4, of all the changes but inline tags together
  virtual float ownPitchShift(float factor) const { return factor; }

  /// Reads and speaks a text with its inline tags, whatever bytes it holds: waits for its turn,
  /// calls utterance.run() once and tells audio, words and marks within it, until all is told or
  /// the utterance is over. An utterance that is stopped while it waits is run to no purpose.
  /// \throws KQError when it cannot speak, and what utterance.run() throws
  virtual void speak(SpokenText& text, const SpeechSettings& settings, Utterance& utterance) = 0;

  /// An utterance was stopped: wakes a speak() that waits for its turn.
  virtual void wakeWaiting() {}
};

}  // namespace KQ::engines
