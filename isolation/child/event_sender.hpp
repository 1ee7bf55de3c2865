#pragma once

#include <functional>
#include <kq/speech_callback.hpp>
#include <kqtts/phoneme_callback.hpp>

#include "isolation/child/host_link.hpp"
#include "isolation/child/speech_table.hpp"
#include "isolation/protocol/encoding.hpp"
#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

/// Leaves an engine whose host's callback threw, in place of what that threw, which is in the host.
struct HostFailure {};

/// The engine's callback: hands its events to the host. Holds the engine while it is far ahead.
class EventSender : public TextToSpeechEngineCallbackInterface {
 public:
  EventSender(const HostLink& hostLink, SpeechTable& speechTable)
      : link(hostLink), speeches(speechTable) {}

  /// What stops the engine; called from events of an utterance that was stopped before it began.
  std::function<void()> stopEngine;

  void onStart() override;
  bool onAudio(const std::int16_t* samples, std::size_t count, int samplingRate) override;
  void onMark(int number, std::uint64_t samplePosition) override;
  void onWord(const SpeechWord& word) override;
  void onEnd(SpeechEnd end) override;

 protected:
  /// Begins a record. Words and marks wait for their turn as audio does.
  /// \return whether the host still wants it
  bool beginEvent(Record kind, Encoder& record);
  void finishEvent(const Encoder& record) const;

 private:
  static std::uint64_t utterance(const SpeechTable& speeches);
  bool goesOn(Course course) const;
  bool sendAudio(const std::int16_t* samples, std::size_t count, int samplingRate);

  const HostLink& link;
  SpeechTable& speeches;
};

/// For hosts that want to know the sounds, too.
class PhonemeSender : public EventSender, public PhonemeCallback {
 public:
  using EventSender::EventSender;
  void onPhoneme(const SpeechPhoneme& phoneme) override;
};

}  // namespace KQ::isolation
