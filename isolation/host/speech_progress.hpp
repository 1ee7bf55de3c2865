#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <kq/speech_callback.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "isolation/host/text_position.hpp"

namespace KQ::isolation {

/// How far an utterance has come, and what is to be said next. Knows nothing of processes.
///
/// The whole text is one piece, until its engine dies. From then on it is said sentence by
/// sentence, from the first word that the host has not heard; a sentence that its engine died of
/// twice is left out.
class SpeechProgress {
 public:
  /// \param text  stays alive
  explicit SpeechProgress(std::string_view text) : text(text) {}

  /// What is to be said next: the two after each other.
  struct Piece {
    std::string prefix;  ///< tags that hold where the piece begins
    std::string_view body;
    bool isLast;
  };
  Piece piece();

  /// \name What the engine reports of the piece
  /// Each returns what the host is to be told, or nothing when it was told before.
  /// @{
  std::optional<SpeechWord> word(const SpeechWord& reported);
  bool mark(int number);
  std::uint64_t position(std::uint64_t reported) const { return samplesBefore + reported; }
  /// @}

  /// The host has taken audio.
  void taken(std::size_t samples, int samplingRate);

  /// The piece is said.
  void pieceSaid();

  /// Whether all is said.
  bool isDone() const { return isAllSaid; }

  /// The engine died. Moves to what is left.
  /// \return whether a sentence is left out
  bool engineDied();

  /// The first byte that is not said.
  std::size_t place() const;

  /// Whether a sentence was said whole since the last time.
  bool hasSaidSentence();

 private:
  bool isHeard(const SpeechWord& word) const;

  const std::string_view text;
  bool isWhole = true;  ///< the piece is the whole text
  bool isAllSaid = false;
  std::size_t begin = 0;  ///< of the piece
  std::size_t end = std::string_view::npos;
  std::size_t prefixSize = 0;
  TagState tags;

  std::uint64_t samples = 0;        ///< that the host has taken
  std::uint64_t samplesBefore = 0;  ///< the piece
  int rate = 0;

  std::optional<SpeechWord> lastWord;  ///< that the host was told; position in the utterance
  std::size_t toldUpTo = 0;            ///< where the words that the host was told end
  std::uint64_t wordSamples = 0;       ///< of words that were followed by another one
  std::uint64_t wordBytes = 0;

  std::deque<int> marksSinceWord;
  std::deque<int> marksToldBefore;  ///< that the engine will tell again

  std::size_t blamedSentence = std::string_view::npos;  ///< its end
  int deaths = 0;                                       ///< in it
  std::size_t sentence = 0;                             ///< end of the one that is being said
  bool saidSentence = false;
};

}  // namespace KQ::isolation
