#pragma once

#include <boost/shared_ptr.hpp>
#include <kqtts/texttospeech_engine.hpp>
#include <kqtts/tts_language_info.hpp>
#include <kqtts/tts_plugin_manager.hpp>
#include <memory>
#include <mutex>
#include <string>

#include "isolation/child/event_sender.hpp"
#include "isolation/child/host_link.hpp"
#include "isolation/child/speech_table.hpp"
#include "isolation/protocol/messages.hpp"

namespace KQ::isolation {

/// The child's language table, which can be compared with the host's.
class ChildLanguageTable : public TTSLanguageInfo {
 public:
  /// Makes it as the host's is.
  void adopt(const LanguageTable& table);
  /// Appends a record for each entry that is not in the host's table yet.
  void reportAdditions(Encoder& records);

 private:
  std::mutex mutex;     ///< of what follows
  LanguageTable known;  ///< the host's
};

/// The engine proper: loads its plug-in, serves calls and reports. All but load() may be called by
/// several threads.
class ServedEngine {
 public:
  explicit ServedEngine(const HostLink& hostLink);

  /// What the sandbox could not set up, which the host is told.
  void setUnprotected(const Names& missing) { unprotected = missing; }

  /// Serves one call and reports its result, whatever the engine throws.
  void serve(const Packet& packet);
  /// Serves what has no result.
  void cancel(const Packet& packet);
  void taken(const Packet& packet);

 private:
  /// \return the records of the answer
  std::string answerTo(const Packet& packet);
  void run(Call call, Decoder& arguments, std::uint64_t number, Encoder& records);
  LoadAnswer load(const LoadRequest& request);
  void restore(const EngineState& state);
  void repeat(Call call, const std::string& arguments);
  void unload();
  void adopt(const Surroundings& surroundings);
  void reportStanding(Encoder& records) const;

  const HostLink& link;
  SpeechTable speeches;
  std::unique_ptr<EventSender> callback;
  boost::shared_ptr<ChildLanguageTable> languages;
  TtsPluginManager plugins;
  TextToSpeechEngine* engine = nullptr;
  Names unprotected;
};

}  // namespace KQ::isolation
