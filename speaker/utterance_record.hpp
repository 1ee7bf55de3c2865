#pragma once

#include <cstddef>
#include <cstdint>
#include <kqtts/speaker.hpp>
#include <list>
#include <memory>
#include <string>

namespace KQ {

/// What is known of an utterance. There may be very many of them, so what only few need, or only
/// while they are spoken, stands in Details.
///
/// The constants may be read by any thread, all else is guarded by the mutex of the core.
class UtteranceRecord {
 public:
  /// What a waiting utterance of a whole text does not need.
  struct Details {
    std::string error;
    SpeechVoice voice;
    bool hasWholeText = true;          ///< the text is not still being written
    std::size_t resumeOffset = 0;      ///< where the text goes on when it is resumed
    std::uint64_t resumePosition = 0;  ///< samples that were spoken before it was interrupted
    int samplingRate = 0;              ///< of the audio so far; 0 before it
    std::chrono::steady_clock::time_point lastPiece{};  ///< when text came last
  };

  UtteranceRecord(std::uint64_t number, std::shared_ptr<const SpeechOptions> how,
                  std::shared_ptr<SpeakerCore> speaker)
      : id(number), options(std::move(how)), core(std::move(speaker)) {}

  /// The details, made when they are first asked for.
  Details& detail() {
    if (!details) {
      details = std::make_unique<Details>();
    }
    return *details;
  }

  const std::uint64_t id;
  const std::shared_ptr<const SpeechOptions> options;
  const std::shared_ptr<SpeakerCore> core;

  std::string text;                          ///< all of it so far; given up at the end
  std::shared_ptr<SpeechListener> listener;  ///< may be null; given up after onEnd
  std::unique_ptr<Details> details;
  std::list<std::shared_ptr<UtteranceRecord>>::iterator place{};  ///< in the queue, while it waits
  UtteranceState state = UtteranceState::waiting;
  UtteranceEnd end = UtteranceEnd::none;
  bool isOver = false;    ///< it has ended, and its listener was told
  bool hasBegun = false;  ///< it was spoken of once, maybe interrupted since
};

}  // namespace KQ
