#pragma once

#include <cstdint>
#include <kq/error.hpp>
#include <kq/speech_callback.hpp>
#include <map>
#include <string>
#include <vector>
#include <zu/log.hpp>

#include "isolation/protocol/calls.hpp"
#include "isolation/protocol/encoding.hpp"

namespace KQ::isolation {

// From the host to the child ----------------------------------------------------------------------

/// The language table's two maps.
struct LanguageTable {
  std::map<std::string, std::string> localeToLanguage;
  std::map<std::string, std::string> languageToLocale;

  bool operator==(const LanguageTable& other) const {
    return localeToLanguage == other.localeToLanguage && languageToLocale == other.languageToLocale;
  }
};

/// What the host lets through of the log.
struct LogLevels {
  zu::log::Level others = zu::log::Level::info;  ///< of categories that are not named
  std::map<std::string, zu::log::Level> byName;  ///< those that differ

  bool operator==(const LogLevels& other) const {
    return others == other.others && byName == other.byName;
  }
};

/// What the engine sees of its host besides calls.
struct Surroundings {
  LanguageTable languages;
  LogLevels levels;

  bool operator==(const Surroundings& other) const {
    return languages == other.languages && levels == other.levels;
  }
};

/// A call that a new process repeats.
struct RememberedCall {
  Call call = Call::load;
  std::string arguments;
};

/// What puts an engine in a new process where the one before it was.
struct EngineState {
  bool isInitialized = false;
  Packages packages;
  std::string language;  ///< "" when it is not known
  std::string voice;     ///< "" when it is not known
  Names dictionaries;    ///< the languages whose dictionary is loaded
  std::vector<RememberedCall> calls;
  bool isPaused = false;
};

/// The argument of Call::load.
struct LoadRequest {
  std::string plugin;  ///< its name: "nuance"
  Names folders;       ///< where to look for it, in order
  Names writable;      ///< folders in which the engine may write
  bool isSandboxed = true;
  bool hasCallback = false;
  bool wantsPhonemes = false;
  Surroundings surroundings;
  EngineState state;
};

/// The answer to Call::load.
struct LoadAnswer {
  bool isLoaded = false;    ///< there is an engine
  bool isRestored = false;  ///< and it is where the request wants it
  std::string name;         ///< the engine's
  Names categories;         ///< of the child's log
  Names unprotected;        ///< what the sandbox could not set up
};

// From the child to the host
// ------------------------------------------------------------------------

/// What stands in a report: one record after another.
enum class Record : std::uint8_t {
  // of an utterance
  start,
  audio,  ///< sampling rate, then samples to the end of the packet
  word,
  mark,
  phoneme,
  end,
  // of any call
  log,
  locale,    ///< an entry of the language table: which map, key, value
  standing,  ///< the engine's language and voice
  // the last one of a call
  result,
  kqError,
  foreignError,
  last = foreignError,
};

void put(Encoder& encoder, const Surroundings& surroundings);
void put(Encoder& encoder, const LoadRequest& request);
void put(Encoder& encoder, const LoadAnswer& answer);
void put(Encoder& encoder, const zu::log::Record& record);
void put(Encoder& encoder, const KQError& error);

/// \throws ProtocolError
void get(Decoder& decoder, Surroundings& surroundings);
void get(Decoder& decoder, LoadRequest& request);
void get(Decoder& decoder, LoadAnswer& answer);
/// Of the time nothing is told.
zu::log::Record getLogRecord(Decoder& decoder);
KQError getError(Decoder& decoder);

}  // namespace KQ::isolation
