#pragma once

#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>
#include <memory>
#include <string_view>

#include "isolation/fault/fault.hpp"

namespace KQ::isolation {

/// Passes the events of an engine on to the host, and commits the fault where it is due.
class FaultyCallback : public TextToSpeechEngineCallbackInterface {
 public:
  /// \param host  may be null
  FaultyCallback(TextToSpeechEngineCallbackInterface* host, const FaultTrigger& trigger)
      : host(host), trigger(trigger) {}

  /// One that asks for phonemes if the host does.
  static std::unique_ptr<FaultyCallback> create(TextToSpeechEngineCallbackInterface* host,
                                                const FaultTrigger& trigger);

  /// The text that this thread is about to speak; stays alive while it does.
  static void speaks(std::string_view text);

  void onStart() override;
  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void onMark(int number, std::uint64_t samplePosition) override;
  void onWord(const SpeechWord& word) override;
  void onEnd(SpeechEnd end) override;

 protected:
  void reach(std::string_view place, std::string_view word = {});

 private:
  TextToSpeechEngineCallbackInterface* const host;
  const FaultTrigger& trigger;
};

}  // namespace KQ::isolation
